#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "tessel/Types.h"

namespace tessel::platform {

/// Time, and everything that waits for it. Injected, so that a test decides how time passes.
/// Any thread.
class Clock {
 public:
  using Duration = std::chrono::nanoseconds;

  virtual ~Clock() = default;

  /// Wall-clock time.
  virtual Date now() = 0;

  /// Monotonic time since some fixed moment.
  virtual Duration uptime() = 0;

  /// Blocks the calling thread.
  virtual void sleep(Duration duration) = 0;

  /// Blocks until `ready` holds or `timeout` has passed (no time-out: for ever); returns `ready()`.
  /// `lock` is held, and is held again at the end. The thread that makes `ready` true does so under
  /// the same mutex and notifies `condition`.
  virtual bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                    std::optional<Duration> timeout, const std::function<bool()>& ready) = 0;
};

}  // namespace tessel::platform
