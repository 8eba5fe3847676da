#pragma once

#include <mutex>
#include <utility>

namespace tessel::platform {

/// A value that any thread may read and replace. The lock is held for the copy only.
template <typename T>
class Synchronized {
 public:
  Synchronized() = default;
  explicit Synchronized(T value) : value_{std::move(value)} {}

  T get() const {
    const std::lock_guard lock{mutex_};
    return value_;
  }

  /// Replaces the value; the old one is let go outside the lock.
  void set(T value) {
    const std::lock_guard lock{mutex_};
    std::swap(value_, value);
  }

 private:
  mutable std::mutex mutex_;  // guards value_
  T value_{};
};

}  // namespace tessel::platform
