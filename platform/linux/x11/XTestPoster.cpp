#include "platform/linux/x11/XTestPoster.h"

#include <utility>

#include "platform/linux/evdev/VirtualKeyCodes.h"
#include "platform/linux/x11/BackgroundWork.h"

namespace tessel::platform {

XTestPoster::XTestPoster(std::string name, std::unique_ptr<XTestDisplay> display)
    : input_{std::make_shared<XTestInput>(std::move(name), std::move(display))} {}

XTestPoster::~XTestPoster() { close(); }

std::optional<MouseEvent> XTestPoster::createMouseEvent(MouseEventType type, Point position,
                                                        MouseButton button) {
  if (!input_->answers()) return std::nullopt;
  return MouseEvent{type, position, button, 1};
}

void XTestPoster::post(const MouseEvent& event) { input_->post(event); }

std::optional<ScrollWheelEvent> XTestPoster::createScrollWheelEvent(std::int32_t lines) {
  if (!input_->answers()) return std::nullopt;
  return ScrollWheelEvent{lines};
}

void XTestPoster::post(const ScrollWheelEvent& event) { input_->post(event); }

std::optional<KeyboardEvent> XTestPoster::createKeyboardEvent(std::uint16_t virtualKey,
                                                              bool keyDown) {
  if (!evdevCode(virtualKey) || !input_->answers()) return std::nullopt;
  return KeyboardEvent{virtualKey, keyDown, 0};
}

void XTestPoster::post(const KeyboardEvent& event) { input_->post(event); }

void XTestPoster::releaseAll() { input_->releaseAll(); }

void XTestPoster::close() {
  if (input_->stop()) BackgroundWork::shared().run([input = input_] { input->close(); });
}

}  // namespace tessel::platform
