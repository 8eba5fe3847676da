#pragma once

#include <chrono>
#include <condition_variable>

#include "platform/Clock.h"
#include "platform/base/Mutex.h"

namespace tessel {

/// Where a start waits until its channel is up or has failed. Any thread.
class StartGate {
 public:
  explicit StartGate(platform::Clock& clock) : clock_{clock} {}

  /// The channel is up, or never will be. A signal before the wait is not lost.
  void signal();

  /// The caller has given the start up: the wait ends after at most kAbandonedTimeout more.
  void abandon();

  /// Blocks until the signal, without a time-out unless the start is abandoned. Returns whether
  /// there was a signal.
  bool wait();

  static constexpr platform::Clock::Duration kAbandonedTimeout = std::chrono::seconds{5};

 private:
  platform::Clock& clock_;
  platform::Mutex mutex_;
  std::condition_variable changed_;
  bool signalled_ TESSEL_GUARDED_BY(mutex_) = false;
  bool abandoned_ TESSEL_GUARDED_BY(mutex_) = false;
};

}  // namespace tessel
