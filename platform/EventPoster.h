#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "tessel/Types.h"

namespace tessel::platform {

/// Kinds of mouse events, by the numbers that the session's parts use for them.
enum class MouseEventType : std::uint32_t {
  kNone = 0,
  kLeftDown = 1,
  kLeftUp = 2,
  kRightDown = 3,
  kRightUp = 4,
  kMoved = 5,
  kLeftDragged = 6,
  kRightDragged = 7,
  kScrollWheel = 22,
};

/// Buttons of a mouse event.
enum class MouseButton : std::uint32_t { kLeft = 0, kRight = 1 };

/// One mouse event. A caller may change its fields and post it again.
struct MouseEvent {
  MouseEventType type = MouseEventType::kNone;
  Point position;  ///< global coordinates, top-left origin
  MouseButton button = MouseButton::kLeft;
  std::int64_t clickState = 1;  ///< place in a row of clicks: 1 single, 2 double
  bool operator==(const MouseEvent&) const = default;
};

/// One turn of the wheel.
struct ScrollWheelEvent {
  std::int32_t lines = 0;  ///< positive: away from the user
  bool operator==(const ScrollWheelEvent&) const = default;
};

/// One key event.
struct KeyboardEvent {
  std::uint16_t virtualKey = 0;  ///< macOS virtual key code
  bool keyDown = false;
  /// Modifier mask of the event. A platform whose events carry no mask ignores it.
  std::uint64_t flags = 0;
  bool operator==(const KeyboardEvent&) const = default;
};

/// Makes the events of one channel and posts them to the desktop. One queue; `releaseAll` and
/// `close` also from any thread. Every call but `close` may wait for the desktop.
///
/// What it has pressed it releases: in `releaseAll` and `close`, and at the latest when it is
/// dropped, which closes it. Where a key turns a lock that outlasts its release, the poster then
/// turns back what it has turned.
class EventPoster {
 public:
  virtual ~EventPoster() = default;

  /// None when the event cannot be made: no desktop, or it refuses, or the poster is closed.
  virtual std::optional<MouseEvent> createMouseEvent(MouseEventType type, Point position,
                                                     MouseButton button) = 0;
  virtual void post(const MouseEvent& event) = 0;

  virtual std::optional<ScrollWheelEvent> createScrollWheelEvent(std::int32_t lines) = 0;
  virtual void post(const ScrollWheelEvent& event) = 0;

  virtual std::optional<KeyboardEvent> createKeyboardEvent(std::uint16_t virtualKey,
                                                           bool keyDown) = 0;
  virtual void post(const KeyboardEvent& event) = 0;

  /// Releases every key and button that this poster has pressed and not released.
  virtual void releaseAll() = 0;

  /// Ends the posting for good, without waiting for the desktop. Once it returns nothing more is
  /// posted, except an event that another thread was posting already. What is held, such an event
  /// included, is released soon after; a process that exits waits for that within a bound.
  virtual void close() = 0;
};

}  // namespace tessel::platform
