#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/EventPoster.h"
#include "platform/linux/x11/XTestDisplay.h"

namespace tessel::platform {

/// Posts events through XTEST.
///
/// X clients count clicks themselves, by time and place, and X repeats a held key itself. So each
/// click goes out once: a press that is marked as the second of two is not posted, since the one
/// that counts as second went out right before it. Nor is a press of what is held already. Only
/// what this poster has pressed is ever released: a release of anything else could end a press of
/// whoever sits at the computer.
///
/// A press of caps lock or num lock turns the computer's own lock, which would stay so when the
/// hub's user has gone. So in the end a lock is turned back, if it was this poster that turned it.
///
/// When the server does not answer, events go nowhere until it does. What was on its way then is
/// lost, so all that may be down by then is released first. What is held when the poster closes
/// meanwhile stays down.
class XTestPoster final : public EventPoster {
 public:
  /// Posts to the server `name`, to which `display` is a connection; without one it makes no
  /// events.
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
  /// Keys or buttons, in the order in which they were pressed.
  using Held = std::vector<std::uint8_t>;

  /// A key whose press turns something on or off that outlasts it.
  struct Lock {
    std::uint8_t evdev = 0;
    bool turned = false;                       ///< this poster's presses have turned it
    std::optional<bool> wasOn = std::nullopt;  ///< before they did, if the server told
  };

  bool answers();
  bool canPost() { return !closed_ && answers(); }
  void reconnect();
  void moveTo(Point position);
  void postButton(std::uint8_t button, bool down);
  void postKey(std::uint8_t evdev, bool down);
  void releaseKeysUnderNumLock();
  void releaseHeld();
  void notePress(std::uint8_t evdev);
  void turnBack(Lock& lock);

  const std::string name_;

  std::mutex mutex_;  // guards all below: `releaseAll` and `close` come from any thread
  std::unique_ptr<XTestDisplay> display_;
  std::chrono::steady_clock::time_point nextAttempt_;
  Held buttons_;
  Held keys_;  // evdev codes
  // What has been released over this connection: down still, if the server never read that.
  Held buttonsReleased_;
  Held keysReleased_;
  std::array<Lock, 2> locks_;
  bool closed_ = false;
};

}  // namespace tessel::platform
