#include "apps/tessel-hub/channels/InputSender.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

namespace tessel::hub {

void InputSender::detachMouse() {
  mouse_.reset();
  buttonsHeld_.clear();
}

void InputSender::detachKeyboard() {
  keyboard_.reset();
  keysHeld_.clear();
}

void InputSender::move(int x, int y) {
  x_ = std::clamp(x, 0, width_);
  y_ = std::clamp(y, 0, height_);
  sendMouse(MouseCommand::move);
}

void InputSender::button(MouseButton button, bool down) {
  if (!mouse_) return;
  const bool changed = down ? buttonsHeld_.insert(button).second : buttonsHeld_.erase(button) > 0;
  if (!changed) return;
  if (button == MouseButton::left) {
    sendMouse(down ? MouseCommand::leftDown : MouseCommand::leftUp);
  } else {
    sendMouse(down ? MouseCommand::rightDown : MouseCommand::rightUp);
  }
}

void InputSender::wheel(int lines) {
  constexpr int kMost = std::numeric_limits<std::uint8_t>::max();
  if (lines == 0) return;
  const auto amount = static_cast<std::uint8_t>(std::min(std::abs(lines), kMost));
  sendMouse(lines > 0 ? MouseCommand::wheelUp : MouseCommand::wheelDown, amount);
}

void InputSender::key(HubKey key, bool down) {
  if (!keyboard_) return;
  const bool changed = down ? keysHeld_.insert(key).second : keysHeld_.erase(key) > 0;
  if (!changed) return;
  const KeyRecord record = keyRecord(key, down);
  keyboard_->send({record.begin(), record.end()});
}

void InputSender::releaseAll() {
  for (const MouseButton held : std::set{buttonsHeld_}) button(held, false);
  for (const HubKey held : std::set{keysHeld_}) key(held, false);
}

void InputSender::sendMouse(MouseCommand command, std::uint8_t lines) {
  if (!mouse_) return;
  const MouseRecord record =
      mouseRecord(command, static_cast<std::uint16_t>(x_), static_cast<std::uint16_t>(y_), lines);
  mouse_->send({record.begin(), record.end()});
}

}  // namespace tessel::hub
