#pragma once

#include "platform/EventPoster.h"

namespace tessel::platform {

/// The poster of a desktop that cannot be driven: it makes no events.
class NullEventPoster final : public EventPoster {
 public:
  std::optional<MouseEvent> createMouseEvent(MouseEventType, Point, MouseButton) override {
    return std::nullopt;
  }
  void post(const MouseEvent&) override {}
  std::optional<ScrollWheelEvent> createScrollWheelEvent(std::int32_t) override {
    return std::nullopt;
  }
  void post(const ScrollWheelEvent&) override {}
  std::optional<KeyboardEvent> createKeyboardEvent(std::uint16_t, bool) override {
    return std::nullopt;
  }
  void post(const KeyboardEvent&) override {}
  void releaseAll() override {}
  void close() override {}
};

}  // namespace tessel::platform
