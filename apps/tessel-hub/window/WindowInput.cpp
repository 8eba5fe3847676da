#include "apps/tessel-hub/window/WindowInput.h"

#include <cassert>
#include <optional>
#include <utility>

#include "apps/tessel-hub/window/KeyTable.h"

namespace tessel::hub {

void WindowInput::begin(int width, int height, Route route) {
  end();
  width_ = width;
  height_ = height;
  route_ = std::move(route);
}

void WindowInput::end() {
  assert(thread_.isCurrent());
  held_.clear();
  route_ = nullptr;
}

WindowInput::Command WindowInput::take(const SDL_Event& event) {
  assert(thread_.isCurrent());
  switch (event.type) {
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      return takeKey(event.key);
    case SDL_MOUSEMOTION:
      move(event.motion.x, event.motion.y);
      break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      takeButton(event.button);
      break;
    case SDL_MOUSEWHEEL:
      takeWheel(event.wheel);
      break;
    case SDL_WINDOWEVENT:
      if (event.window.event == SDL_WINDOWEVENT_FOCUS_LOST) releaseAll();
      break;
    default:
      break;
  }
  return Command::kNone;
}

WindowInput::Command WindowInput::takeKey(const SDL_KeyboardEvent& event) {
  const SDL_Scancode scancode = event.keysym.scancode;
  const bool down = event.type == SDL_KEYDOWN;
  const bool forHub =
      (event.keysym.mod & KMOD_CTRL) != 0 && (event.keysym.mod & KMOD_ALT) != 0 && down;
  if (forHub && (scancode == SDL_SCANCODE_Q || scancode == SDL_SCANCODE_F)) {
    if (event.repeat != 0) return Command::kNone;
    releaseAll();
    return scancode == SDL_SCANCODE_Q ? Command::kQuit : Command::kToggleFullscreen;
  }
  // The sender's machine repeats held keys by itself.
  if (!route_ || event.repeat != 0) return Command::kNone;
  if (down) {
    const bool numLock = (event.keysym.mod & KMOD_NUM) != 0;
    const std::optional<HubKey> key = hubKeyFor(scancode, numLock);
    if (!key) return Command::kNone;
    held_[scancode] = *key;
    route_([key = *key](InputSender& input) { input.key(key, true); });
  } else if (const auto found = held_.find(scancode); found != held_.end()) {
    route_([key = found->second](InputSender& input) { input.key(key, false); });
    held_.erase(found);
  }
  return Command::kNone;
}

void WindowInput::takeButton(const SDL_MouseButtonEvent& event) {
  if (!route_ || (event.button != SDL_BUTTON_LEFT && event.button != SDL_BUTTON_RIGHT)) return;
  const MouseButton button =
      event.button == SDL_BUTTON_LEFT ? MouseButton::kLeft : MouseButton::kRight;
  const bool down = event.type == SDL_MOUSEBUTTONDOWN;
  move(event.x, event.y);
  route_([button, down](InputSender& input) { input.button(button, down); });
}

void WindowInput::takeWheel(const SDL_MouseWheelEvent& event) {
  if (!route_) return;
  const int lines = event.direction == SDL_MOUSEWHEEL_FLIPPED ? -event.y : event.y;
  route_([lines](InputSender& input) { input.wheel(lines); });
}

void WindowInput::move(int windowX, int windowY) {
  if (!route_) return;
  const int x = Letterbox::toSession(windowX - box_.x, box_.width, width_);
  const int y = Letterbox::toSession(windowY - box_.y, box_.height, height_);
  route_([x, y](InputSender& input) { input.move(x, y); });
}

void WindowInput::releaseAll() {
  held_.clear();
  if (route_) route_([](InputSender& input) { input.releaseAll(); });
}

}  // namespace tessel::hub
