#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace tessel::test {

/// A value that other threads change and that a test waits for, with a bound. Any thread.
///
///     Eventually<int> ticks;
///     queue->async([&] { ticks.update([](int& count) { ++count; }); });
///     EXPECT_TRUE(ticks.becomes([](int count) { return count == 1; }));
template <typename T>
class Eventually {
 public:
  Eventually() = default;
  explicit Eventually(T value) : value_{std::move(value)} {}

  template <typename Change>
  void update(Change change) {
    const std::lock_guard lock{mutex_};
    change(value_);
    changed_.notify_all();
  }

  void set(T value) {
    update([&](T& old) { old = std::move(value); });
  }

  T get() const {
    const std::lock_guard lock{mutex_};
    return value_;
  }

  /// Whether `holds` came to be true of the value before the bound. The bound is only ever reached
  /// by a test that fails.
  template <typename Holds>
  bool becomes(Holds holds, std::chrono::seconds bound = std::chrono::seconds{10}) const {
    std::unique_lock lock{mutex_};
    return changed_.wait_for(lock, bound, [&] { return holds(value_); });
  }

  bool becomesEqual(const T& expected) const {
    return becomes([&](const T& value) { return value == expected; });
  }

 private:
  mutable std::mutex mutex_;  // guards value_
  mutable std::condition_variable changed_;
  T value_{};
};

}  // namespace tessel::test
