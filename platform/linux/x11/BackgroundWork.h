#pragma once

#include <condition_variable>
#include <functional>

#include "platform/base/Mutex.h"

namespace tessel::platform {

/// Runs work that may take seconds, and must not be lost, on threads of its own: when the process
/// exits it waits for the work under way, at most kBackgroundWorkTimeout. One in the process, never
/// destroyed. Any thread.
class BackgroundWork {
 public:
  static BackgroundWork& shared();

  BackgroundWork(const BackgroundWork&) = delete;
  BackgroundWork& operator=(const BackgroundWork&) = delete;

  /// Returns at once; once the process exits, when the work is done.
  void run(std::function<void()> work);

 private:
  BackgroundWork() = default;
  ~BackgroundWork() = default;

  void finish();
  void waitForExit();

  Mutex mutex_;
  std::condition_variable finished_;
  int running_ TESSEL_GUARDED_BY(mutex_) = 0;
  bool exiting_ TESSEL_GUARDED_BY(mutex_) = false;
};

}  // namespace tessel::platform
