#include "platform/linux/x11/XWatch.h"

#include <cassert>
#include <sys/socket.h>
#include <utility>

#include "platform/posix/Thread.h"

namespace tessel::platform {

using std::chrono::steady_clock;

XWatch::XWatch(int descriptor, std::function<Duration()> timeout, std::function<void()> lost)
    : descriptor_{descriptor},
      timeout_{std::move(timeout)},
      lost_{std::move(lost)},
      thread_{startThread("tessel-xwatch", [this] { run(); })} {}

XWatch::~XWatch() {
  {
    const MutexLock lock{mutex_};
    ending_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

void XWatch::begin() {
  const MutexLock lock{mutex_};
  assert(depth_ == 0 || waiter_ == std::this_thread::get_id());
  if (depth_++ > 0) return;
  waiter_ = std::this_thread::get_id();
  deadline_ = steady_clock::now() + timeout_();
  // A watchdog that sleeps until an earlier deadline finds this one when it wakes: a notification
  // for each call would cost more than most calls do.
  if (*deadline_ < wakes_) changed_.notify_all();
}

void XWatch::end() {
  const MutexLock lock{mutex_};
  if (--depth_ == 0) deadline_.reset();
}

void XWatch::run() {
  MutexLock lock{mutex_};
  while (!ending_) {
    if (!deadline_) {
      wakes_ = Time::max();
      changed_.wait(lock.native());
    } else if (wakes_ = *deadline_; steady_clock::now() < wakes_) {
      changed_.wait_until(lock.native(), wakes_);
    } else {
      expired_ = true;
      lost_();
      shutdown(descriptor_, SHUT_RDWR);
      while (!ending_) changed_.wait(lock.native());
    }
  }
}

}  // namespace tessel::platform
