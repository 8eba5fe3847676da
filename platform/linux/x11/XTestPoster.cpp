#include "platform/linux/x11/XTestPoster.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <linux/input-event-codes.h>
#include <string>
#include <utility>

#include "platform/linux/VirtualKeyCodes.h"
#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {

namespace {

constexpr std::uint8_t kLeftButton = 1;
constexpr std::uint8_t kRightButton = 3;
constexpr std::uint8_t kWheelUp = 4;
constexpr std::uint8_t kWheelDown = 5;

// What a wheel's byte can ask for.
constexpr std::int32_t kMostLines = 255;

// A server that does not answer is tried again this often at most.
constexpr auto kAttemptInterval = std::chrono::seconds{1};

// Each of them once, however often it is noted.
void note(std::vector<std::uint8_t>& codes, std::uint8_t code) {
  if (std::ranges::count(codes, code) == 0) codes.push_back(code);
}

// The place of a coordinate among a screen's pixels.
int pixel(double coordinate, int size) {
  const double last = std::max(size - 1, 0);
  return static_cast<int>(std::clamp(coordinate, 0.0, last));
}

// An event's button tells which one it is about, its type only what happens to it.
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

XTestPoster::XTestPoster(std::string name, std::unique_ptr<XTestDisplay> display)
    : name_{std::move(name)},
      display_{std::move(display)},
      locks_{Lock{.evdev = KEY_CAPSLOCK}, Lock{.evdev = KEY_NUMLOCK}} {}

XTestPoster::~XTestPoster() { close(); }

bool XTestPoster::answers() {
  if (!display_) return false;
  if (!display_->alive() && display_->silent() && !closed_) reconnect();
  return display_->alive();
}

void XTestPoster::reconnect() {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextAttempt_) return;
  nextAttempt_ = now + kAttemptInterval;
  std::string reason;
  std::unique_ptr<XTestDisplay> again = XTestDisplay::open(name_, reason);
  if (!again) return;
  display_ = std::move(again);
  for (const Held* keys : {&keys_, &keysReleased_}) {
    std::for_each(keys->rbegin(), keys->rend(),
                  [this](std::uint8_t key) { display_->key(key, false); });
  }
  for (const Held* buttons : {&buttons_, &buttonsReleased_}) {
    for (const std::uint8_t button : *buttons) display_->button(button, false);
  }
  for (Held* each : {&keys_, &keysReleased_, &buttons_, &buttonsReleased_}) each->clear();
  display_->flush();
}

std::optional<MouseEvent> XTestPoster::createMouseEvent(MouseEventType type, Point position,
                                                        MouseButton button) {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  if (!answers()) return std::nullopt;
  return MouseEvent{type, position, button, 1};
}

void XTestPoster::post(const MouseEvent& event) {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  if (!canPost()) return;
  moveTo(event.position);
  switch (event.type) {
    case MouseEventType::kLeftDown:
    case MouseEventType::kRightDown:
      if (event.clickState < 2) postButton(buttonOf(event), true);
      break;
    case MouseEventType::kLeftUp:
    case MouseEventType::kRightUp:
      postButton(buttonOf(event), false);
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

// Positions count from the first screen's corner. One that is no number moves nothing.
void XTestPoster::moveTo(Point position) {
  if (std::isnan(position.x) || std::isnan(position.y)) return;
  const auto screen = display_->firstScreen();
  display_->moveTo(screen.x + pixel(position.x, screen.width),
                   screen.y + pixel(position.y, screen.height));
}

void XTestPoster::postButton(std::uint8_t button, bool down) {
  const bool held = std::ranges::count(buttons_, button) > 0;
  if (held == down) return;
  display_->button(button, down);
  if (down) {
    buttons_.push_back(button);
  } else {
    std::erase(buttons_, button);
    note(buttonsReleased_, button);
  }
}

std::optional<ScrollWheelEvent> XTestPoster::createScrollWheelEvent(std::int32_t lines) {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  if (!answers()) return std::nullopt;
  return ScrollWheelEvent{lines};
}

// A line is a notch, and a notch is a click of button 4 or 5.
void XTestPoster::post(const ScrollWheelEvent& event) {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  if (!canPost()) return;
  const std::uint8_t button = event.lines > 0 ? kWheelUp : kWheelDown;
  const auto notches = std::abs(std::clamp(event.lines, -kMostLines, kMostLines));
  for (std::int32_t notch = 0; notch < notches; ++notch) {
    display_->button(button, true);
    display_->button(button, false);
  }
  note(buttonsReleased_, button);
  display_->flush();
}

std::optional<KeyboardEvent> XTestPoster::createKeyboardEvent(std::uint16_t virtualKey,
                                                              bool keyDown) {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  if (!answers() || !evdevCode(virtualKey)) return std::nullopt;
  return KeyboardEvent{virtualKey, keyDown, 0};
}

void XTestPoster::post(const KeyboardEvent& event) {
  const auto evdev = evdevCode(event.virtualKey);
  if (!evdev) return;
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  if (!canPost()) return;
  if (*evdev == KEY_NUMLOCK) releaseKeysUnderNumLock();
  postKey(*evdev, event.keyDown);
  display_->flush();
}

void XTestPoster::postKey(std::uint8_t evdev, bool down) {
  const bool held = std::ranges::count(keys_, evdev) > 0;
  if (held == down) return;
  if (down) notePress(evdev);
  display_->key(evdev, down);
  if (down) {
    keys_.push_back(evdev);
  } else {
    std::erase(keys_, evdev);
    note(keysReleased_, evdev);
  }
}

// Their release would come under another code and leave them down, repeating for ever.
void XTestPoster::releaseKeysUnderNumLock() {
  const Held held = keys_;
  for (const std::uint8_t key : held) {
    if (changesUnderNumLock(key)) postKey(key, false);
  }
}

void XTestPoster::releaseAll() {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  releaseHeld();
}

void XTestPoster::close() {
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  nextAttempt_ = {};  // the last chance
  if (!canPost()) return;
  releaseHeld();
  display_->finish();
  closed_ = true;
}

void XTestPoster::releaseHeld() {
  if (!canPost()) return;
  // The last one pressed first: modifiers stay down as long as the keys they act on.
  while (!keys_.empty()) postKey(keys_.back(), false);
  while (!buttons_.empty()) postButton(buttons_.back(), false);
  for (Lock& lock : locks_) turnBack(lock);
  display_->flush();
}

void XTestPoster::notePress(std::uint8_t evdev) {
  const auto lock = std::ranges::find(locks_, evdev, &Lock::evdev);
  if (lock == locks_.end()) return;
  lock->turned = !lock->turned;
  if (lock->turned) lock->wasOn = display_->modifierIsOn(evdev);
}

// Not when it is as it was: whoever sits at the computer has turned it back, or the key is no lock
// on this desktop.
void XTestPoster::turnBack(Lock& lock) {
  if (!std::exchange(lock.turned, false) || !lock.wasOn) return;
  const auto isOn = display_->modifierIsOn(lock.evdev);
  if (!isOn || isOn == lock.wasOn) return;
  display_->key(lock.evdev, true);
  display_->key(lock.evdev, false);
}

}  // namespace tessel::platform
