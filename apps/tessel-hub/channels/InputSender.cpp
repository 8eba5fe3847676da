#include "apps/tessel-hub/channels/InputSender.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <limits>
#include <utility>

#include "wire/KeyboardRecord.h"

namespace tessel::hub {
namespace {

std::uint8_t keyFlag(bool special, bool down) {
  if (special) return down ? SPECIAL_KEY_DOWN_FLAG : SPECIAL_KEY_UP_FLAG;
  return down ? KEY_DOWN_FLAG : KEY_UP_FLAG;
}

}  // namespace

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
  sendMouse(MouseCommand::kMove);
}

void InputSender::button(MouseButton button, bool down) {
  assert(thread_.isCurrent());
  if (!mouse_) return;
  const bool changed = down ? buttonsHeld_.insert(button).second : buttonsHeld_.erase(button) > 0;
  if (!changed) return;
  if (button == MouseButton::kLeft) {
    sendMouse(down ? MouseCommand::kLeftDown : MouseCommand::kLeftUp);
  } else {
    sendMouse(down ? MouseCommand::kRightDown : MouseCommand::kRightUp);
  }
}

void InputSender::wheel(int lines) {
  constexpr int kMaxLines = std::numeric_limits<std::uint8_t>::max();
  if (lines == 0) return;
  const auto amount = static_cast<std::uint8_t>(std::min(std::abs(lines), kMaxLines));
  sendMouse(lines > 0 ? MouseCommand::kWheelUp : MouseCommand::kWheelDown, amount);
}

void InputSender::key(HubKey key, bool down) {
  assert(thread_.isCurrent());
  if (!keyboard_) return;
  const bool changed = down ? keysHeld_.insert(key).second : keysHeld_.erase(key) > 0;
  if (!changed) return;
  KeyboardRecord record;
  record.keyFlag = keyFlag(key.special, down);
  record.keyCode = key.code;
  keyboard_->send(record.bytes());
}

void InputSender::releaseAll() {
  for (const MouseButton held : std::set{buttonsHeld_}) button(held, false);
  for (const HubKey held : std::set{keysHeld_}) key(held, false);
}

void InputSender::sendMouse(MouseCommand command, std::uint8_t lines) {
  assert(thread_.isCurrent());
  if (!mouse_) return;
  MousePacket packet;
  packet.x = static_cast<std::uint16_t>(x_);
  packet.y = static_cast<std::uint16_t>(y_);
  packet.command = static_cast<std::uint8_t>(command);
  packet.wheel = lines;
  mouse_->send(packet.bytes());
}

}  // namespace tessel::hub
