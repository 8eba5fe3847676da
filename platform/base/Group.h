#pragma once

#include <condition_variable>

#include "platform/Clock.h"
#include "platform/base/Mutex.h"

namespace tessel::platform {

/// Counts work under way; a thread can wait until there is none. Any thread.
class Group {
 public:
  explicit Group(Clock& clock) : clock_{clock} {}

  void enter();
  /// Ends one piece of work. One that was never entered is ignored.
  void leave();
  /// Whether the count reached zero within `timeout`.
  bool wait(Clock::Duration timeout);

 private:
  Clock& clock_;
  Mutex mutex_;
  std::condition_variable changed_;
  int count_ TESSEL_GUARDED_BY(mutex_) = 0;
};

/// Wakes a waiting thread. A signal that comes before the wait is not lost. Any thread.
class Condition {
 public:
  explicit Condition(Clock& clock) : clock_{clock} {}

  void signal();
  /// Blocks until the first signal, however long that takes.
  void wait();

 private:
  Clock& clock_;
  Mutex mutex_;
  std::condition_variable changed_;
  bool signalled_ TESSEL_GUARDED_BY(mutex_) = false;
};

}  // namespace tessel::platform
