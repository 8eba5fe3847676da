#include "platform/linux/x11/XTestInput.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <linux/input-event-codes.h>
#include <utility>
#include <vector>

#include "platform/linux/evdev/VirtualKeyCodes.h"

namespace tessel::platform {

namespace {

constexpr std::uint8_t kLeftButton = 1;
constexpr std::uint8_t kRightButton = 3;
constexpr std::uint8_t kWheelUp = 4;
constexpr std::uint8_t kWheelDown = 5;

// The greatest value of the wheel byte.
constexpr std::int32_t kMaxLines = 255;

// A server that is gone or does not answer is tried again this often at most.
constexpr auto kAttemptInterval = std::chrono::seconds{1};

// The pixel of a screen at a coordinate; that at the edge for coordinates beyond it.
int pixel(double coordinate, int size) {
  const double last = std::max(size - 1, 0);
  return static_cast<int>(std::clamp(coordinate, 0.0, last));
}

// The button of an event is its `button`, whatever side its type names.
std::uint8_t buttonOf(const MouseEvent& event) {
  return event.button == MouseButton::kRight ? kRightButton : kLeftButton;
}

// Keys that the hub sends under other codes once num lock goes on or off.
bool changesUnderNumLock(std::uint8_t evdev) {
  switch (evdev) {
    case KEY_HOME:
    case KEY_UP:
    case KEY_PAGEUP:
    case KEY_LEFT:
    case KEY_RIGHT:
    case KEY_END:
    case KEY_DOWN:
    case KEY_PAGEDOWN:
    case KEY_DELETE:
    case KEY_KP0:
    case KEY_KP1:
    case KEY_KP2:
    case KEY_KP3:
    case KEY_KP4:
    case KEY_KP6:
    case KEY_KP7:
    case KEY_KP8:
    case KEY_KP9:
    case KEY_KPDOT:
      return true;
    default:
      return false;
  }
}

}  // namespace

XTestInput::XTestInput(std::string name, std::unique_ptr<XTestDisplay> display)
    : name_{std::move(name)}, display_{std::move(display)} {}

bool XTestInput::answers() {
  if (stopped_) return false;  // without waiting for `close`
  const MutexLock lock{mutex_};
  return connected();
}

bool XTestInput::connected() {
  if (!display_->alive()) reconnect();
  return display_->alive();
}

void XTestInput::reconnect() {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextAttempt_) return;
  nextAttempt_ = now + kAttemptInterval;
  std::string reason;
  std::unique_ptr<XTestDisplay> again = XTestDisplay::open(name_, reason);
  if (!again) return;
  const bool sameServer = display_->silent();
  display_ = std::move(again);
  clicks_.clear();
  if (!sameServer) {
    keys_.clear();
    buttons_.clear();
    locks_.forget();
    return;
  }
  for (const std::uint8_t key : keys_.takeUncertain()) display_->key(key, false);
  for (const std::uint8_t button : buttons_.takeUncertain()) display_->button(button, false);
  display_->flush();
}

void XTestInput::post(const MouseEvent& event) {
  const MutexLock lock{mutex_};
  if (stopped_ || !connected()) return;
  moveTo(event.position);
  switch (event.type) {
    case MouseEventType::kLeftDown:
    case MouseEventType::kRightDown:
      pressButton(event);
      break;
    case MouseEventType::kLeftUp:
    case MouseEventType::kRightUp:
      releaseButton(buttonOf(event));
      break;
    case MouseEventType::kMoved:
    case MouseEventType::kLeftDragged:
    case MouseEventType::kRightDragged:
    case MouseEventType::kScrollWheel:
    case MouseEventType::kNone:
      break;
  }
  display_->flush();
}

// Positions count from the first screen's corner. NaN moves nothing.
void XTestInput::moveTo(Point position) {
  if (std::isnan(position.x) || std::isnan(position.y)) return;
  const auto screen = display_->firstScreen();
  display_->moveTo(screen.x + pixel(position.x, screen.width),
                   screen.y + pixel(position.y, screen.height));
}

// The second press of a double click is posted only if the desktop has not counted two by then: if
// the presses posted before came too far apart for it.
void XTestInput::pressButton(const MouseEvent& event) {
  const std::uint8_t button = buttonOf(event);
  if (event.clickState >= 2 && clicks_.count(button) >= 2) return;
  if (!buttons_.press(button)) return;
  const auto limit = display_->doubleClickTime();
  display_->button(button, true);
  if (const auto time = display_->time()) clicks_.press(button, *time, limit);
}

void XTestInput::releaseButton(std::uint8_t button) {
  if (buttons_.release(button)) display_->button(button, false);
}

// A line is a notch, and a notch is a click of button 4 or 5.
void XTestInput::post(const ScrollWheelEvent& event) {
  const MutexLock lock{mutex_};
  if (stopped_ || !connected()) return;
  const std::uint8_t button = event.lines > 0 ? kWheelUp : kWheelDown;
  const auto notches = std::abs(std::clamp(event.lines, -kMaxLines, kMaxLines));
  for (std::int32_t notch = 0; notch < notches; ++notch) {
    display_->button(button, true);
    display_->button(button, false);
  }
  buttons_.noteReleased(button);
  display_->flush();
}

void XTestInput::post(const KeyboardEvent& event) {
  const auto evdev = evdevCode(event.virtualKey);
  if (!evdev) return;
  const MutexLock lock{mutex_};
  if (stopped_ || !connected()) return;
  if (*evdev == KEY_NUMLOCK) releaseKeysUnderNumLock();
  postKey(*evdev, event.keyDown);
  display_->flush();
}

void XTestInput::postKey(std::uint8_t evdev, bool down) {
  if (down ? !keys_.press(evdev) : !keys_.release(evdev)) return;
  if (down) locks_.notePress(evdev, *display_);
  display_->key(evdev, down);
}

// Their release would come under another code and leave them down, repeating for ever.
void XTestInput::releaseKeysUnderNumLock() {
  const std::vector<std::uint8_t> held = keys_.held();
  for (const std::uint8_t key : held) {
    if (changesUnderNumLock(key)) postKey(key, false);
  }
}

void XTestInput::releaseAll() {
  const MutexLock lock{mutex_};
  if (connected()) releaseHeld();
}

void XTestInput::close() {
  const MutexLock lock{mutex_};
  nextAttempt_ = {};  // this is the last chance
  if (!connected()) return;
  releaseHeld();
  display_->finish();
}

void XTestInput::releaseHeld() {
  // The last one pressed first: modifiers stay down as long as the keys they act on.
  while (!keys_.held().empty()) postKey(keys_.held().back(), false);
  while (!buttons_.held().empty()) releaseButton(buttons_.held().back());
  locks_.turnBack(*display_);
  display_->flush();
}

}  // namespace tessel::platform
