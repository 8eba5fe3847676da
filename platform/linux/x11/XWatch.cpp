#include "platform/linux/x11/XWatch.h"

#include <pthread.h>
#include <sys/socket.h>
#include <utility>

#include "platform/posix/HostSignals.h"

namespace tessel::platform {

using std::chrono::steady_clock;

XWatch::XWatch(int descriptor, std::function<Duration()> patience, std::function<void()> lost)
    : descriptor_{descriptor}, patience_{std::move(patience)}, lost_{std::move(lost)} {
  const HostSignalsBlocked inherited;
  thread_ = std::thread{[this] {
    pthread_setname_np(pthread_self(), "tessel-xwatch");
    run();
  }};
}

XWatch::~XWatch() {
  {
    const std::lock_guard lock{mutex_};
    ending_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

void XWatch::begin() {
  const std::lock_guard lock{mutex_};
  if (waits_++ > 0) return;
  deadline_ = steady_clock::now() + patience_();
  // A thread that looks at an earlier deadline finds this one when that is over: waking it for each
  // call would cost more than most calls do.
  if (*deadline_ < wakes_) changed_.notify_all();
}

void XWatch::end() {
  const std::lock_guard lock{mutex_};
  if (--waits_ == 0) deadline_.reset();
}

void XWatch::run() {
  std::unique_lock lock{mutex_};
  while (!ending_) {
    if (!deadline_) {
      wakes_ = Time::max();
      changed_.wait(lock);
    } else if (wakes_ = *deadline_; steady_clock::now() < wakes_) {
      changed_.wait_until(lock, wakes_);
    } else {
      expired_ = true;
      lost_();
      shutdown(descriptor_, SHUT_RDWR);
      changed_.wait(lock, [this] { return ending_; });
    }
  }
}

}  // namespace tessel::platform
