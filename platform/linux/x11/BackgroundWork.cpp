#include "platform/linux/x11/BackgroundWork.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "platform/linux/x11/XConnect.h"
#include "platform/posix/Thread.h"

namespace tessel::platform {
namespace {

// The work waits for a server twice at most: in full for an answer, and once more, for the shorter
// time, to connect again.
constexpr auto kBackgroundWorkTimeout = kXServerTimeout + std::chrono::seconds{1};

}  // namespace

BackgroundWork& BackgroundWork::shared() {
  struct WaitAtExit {
    BackgroundWork& work;
    ~WaitAtExit() { work.waitForExit(); }
  };
  static BackgroundWork& work = []() -> BackgroundWork& {
    static const WaitAtExit waitAtExit{*new BackgroundWork};
    return waitAtExit.work;
  }();
  return work;
}

void BackgroundWork::run(std::function<void()> work) {
  bool exiting = false;
  {
    const MutexLock lock{mutex_};
    exiting = exiting_;
    if (!exiting) ++running_;
  }
  if (exiting) return work();
  try {
    startThread("tessel-release", [this, work]() mutable {
      std::exchange(work, nullptr)();
      finish();
    }).detach();
  } catch (const std::system_error&) {
    work();  // there is no thread left
    finish();
  }
}

void BackgroundWork::finish() {
  const MutexLock lock{mutex_};
  --running_;
  finished_.notify_all();
}

void BackgroundWork::waitForExit() {
  MutexLock lock{mutex_};
  exiting_ = true;
  finished_.wait_for(lock.native(), kBackgroundWorkTimeout,
                     [this]() TESSEL_REQUIRES(mutex_) { return running_ == 0; });
}

}  // namespace tessel::platform
