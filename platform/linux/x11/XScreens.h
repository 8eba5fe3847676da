#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/base/Mutex.h"
#include "platform/linux/x11/XConnection.h"
#include "tessel/Screen.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// The monitors and the pointer of an X server. Connects at the first call, and again when the
/// server has been lost. Any thread.
class XScreens {
 public:
  /// `acceptsXwayland`: whether the screens of Xwayland count.
  XScreens(std::string display, bool acceptsXwayland);

  /// The primary one first; empty without a server. Coordinates in points, origin at the lower left
  /// corner of the primary one.
  std::vector<Screen> screens();
  Point mouseLocation();

 private:
  bool connected() TESSEL_REQUIRES(mutex_);
  void refresh() TESSEL_REQUIRES(mutex_);
  Point point(int rootX, int rootY) const TESSEL_REQUIRES(mutex_);

  const std::string display_;
  const bool acceptsXwayland_;

  Mutex mutex_;
  std::unique_ptr<XConnection> connection_ TESSEL_GUARDED_BY(mutex_);
  std::chrono::steady_clock::time_point nextAttempt_ TESSEL_GUARDED_BY(mutex_);
  XLayout layout_ TESSEL_GUARDED_BY(mutex_);
  std::chrono::steady_clock::time_point nextLayout_ TESSEL_GUARDED_BY(mutex_);
  Point mouse_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::platform
