#pragma once

#include <atomic>
#include <thread>

namespace tessel::apps {

/// For assertions that an object is used by one thread only: `assert(thread_.isCurrent())`. The
/// thread is the one that asks first. Any thread may ask.
class ThreadChecker {
 public:
  bool isCurrent() const {
    std::thread::id owner;
    const std::thread::id current = std::this_thread::get_id();
    return owner_.compare_exchange_strong(owner, current) || owner == current;
  }

 private:
  mutable std::atomic<std::thread::id> owner_{};
};

}  // namespace tessel::apps
