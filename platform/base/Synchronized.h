#pragma once

#include <utility>

#include "platform/base/Mutex.h"

namespace tessel::platform {

/// A value that any thread may read and replace. The lock is held for the copy only.
template <typename T>
class Synchronized {
 public:
  Synchronized() = default;
  explicit Synchronized(T value) : value_{std::move(value)} {}

  T get() const {
    const MutexLock lock{mutex_};
    return value_;
  }

  /// Replaces the value; the old one is destroyed after the lock is released.
  void set(T value) {
    const MutexLock lock{mutex_};
    std::swap(value_, value);
  }

 private:
  mutable Mutex mutex_;
  T value_ TESSEL_GUARDED_BY(mutex_){};
};

}  // namespace tessel::platform
