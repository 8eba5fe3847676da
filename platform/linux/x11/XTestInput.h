#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/EventPoster.h"
#include "platform/base/Mutex.h"
#include "platform/linux/x11/ClickCounter.h"
#include "platform/linux/x11/HeldCodes.h"
#include "platform/linux/x11/LockKeys.h"
#include "platform/linux/x11/XTestDisplay.h"

namespace tessel::platform {

/// The input of one poster: its connection to an X server, and what it has pressed there. Any
/// thread; every call but `stop` may wait for the server, or for another call that does.
///
/// When the server does not answer, events go nowhere until it does. What was on its way then is
/// lost, so all that may be down by then is released first. On a server that was started anew
/// nothing is down. What is held when `close` finds a server that does not answer stays down.
class XTestInput {
 public:
  /// On the server `name`, to which `display` is a connection.
  XTestInput(std::string name, std::unique_ptr<XTestDisplay> display);

  /// Whether events can be posted.
  bool answers();

  void post(const MouseEvent& event);
  void post(const ScrollWheelEvent& event);
  void post(const KeyboardEvent& event);

  /// Releases what is held and turns the locks back.
  void releaseAll();

  /// Nothing is posted from now on, except by a call that is under way. Returns at once; false when
  /// it was stopped before.
  bool stop() { return !stopped_.exchange(true); }

  /// After `stop`: releases all, and waits until the server has done what was posted.
  void close();

 private:
  bool connected() TESSEL_REQUIRES(mutex_);
  void reconnect() TESSEL_REQUIRES(mutex_);
  void moveTo(Point position) TESSEL_REQUIRES(mutex_);
  void pressButton(const MouseEvent& event) TESSEL_REQUIRES(mutex_);
  void releaseButton(std::uint8_t button) TESSEL_REQUIRES(mutex_);
  void postKey(std::uint8_t evdev, bool down) TESSEL_REQUIRES(mutex_);
  void releaseKeysUnderNumLock() TESSEL_REQUIRES(mutex_);
  void releaseHeld() TESSEL_REQUIRES(mutex_);

  const std::string name_;
  std::atomic<bool> stopped_ = false;

  Mutex mutex_;
  std::unique_ptr<XTestDisplay> display_ TESSEL_GUARDED_BY(mutex_);  // never null
  std::chrono::steady_clock::time_point nextAttempt_ TESSEL_GUARDED_BY(mutex_);
  HeldCodes buttons_ TESSEL_GUARDED_BY(mutex_);
  HeldCodes keys_ TESSEL_GUARDED_BY(mutex_);  // evdev codes
  LockKeys locks_ TESSEL_GUARDED_BY(mutex_);
  ClickCounter clicks_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::platform
