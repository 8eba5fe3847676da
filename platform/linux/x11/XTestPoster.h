#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/EventPoster.h"
#include "platform/linux/x11/XTestInput.h"

namespace tessel::platform {

/// Posts events through XTEST. Threads: see EventPoster.
///
/// X clients count clicks themselves, by time and place, and X repeats a held key itself. So the
/// second press of a double click is posted only where the desktop would count one click without
/// it, and a press of what is held already is not posted. Only what this poster has pressed is
/// ever released: a release of anything else could end a press of the computer's own user.
///
/// A press of caps lock or num lock turns the computer's own lock, which would stay so when the
/// hub's user has gone. So in the end a lock is turned back, if it was this poster that turned it.
class XTestPoster final : public EventPoster {
 public:
  /// Posts to the server `name`, to which `display` is a connection.
  XTestPoster(std::string name, std::unique_ptr<XTestDisplay> display);
  ~XTestPoster() override;

  std::optional<MouseEvent> createMouseEvent(MouseEventType type, Point position,
                                             MouseButton button) override;
  void post(const MouseEvent& event) override;

  std::optional<ScrollWheelEvent> createScrollWheelEvent(std::int32_t lines) override;
  void post(const ScrollWheelEvent& event) override;

  std::optional<KeyboardEvent> createKeyboardEvent(std::uint16_t virtualKey, bool keyDown) override;
  void post(const KeyboardEvent& event) override;

  void releaseAll() override;
  void close() override;

 private:
  const std::shared_ptr<XTestInput> input_;  // shared with the thread that closes it
};

}  // namespace tessel::platform
