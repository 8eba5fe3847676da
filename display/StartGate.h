#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/Clock.h"

namespace tessel {

/// Where a start waits until its channel is up or has failed. Any thread.
class StartGate {
 public:
  explicit StartGate(platform::Clock& clock) : clock_{clock} {}

  /// The channel is up, or never will be. A signal that comes before the wait is not lost.
  void signal();

  /// Nobody is interested in the start any more: it gets a last while to end by itself.
  void abandon();

  /// Blocks until the signal, however long that takes, unless the start is abandoned. Returns
  /// whether there was a signal.
  bool wait();

  /// How long an abandoned start may still take.
  static constexpr platform::Clock::Duration kGrace = std::chrono::seconds{5};

 private:
  platform::Clock& clock_;
  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  bool signalled_ = false;
  bool abandoned_ = false;
};

}  // namespace tessel
