#include "display/StartGate.h"

namespace tessel {

using platform::MutexLock;

void StartGate::signal() {
  const MutexLock lock{mutex_};
  signalled_ = true;
  changed_.notify_all();
}

void StartGate::abandon() {
  const MutexLock lock{mutex_};
  abandoned_ = true;
  changed_.notify_all();
}

bool StartGate::wait() {
  MutexLock lock{mutex_};
  clock_.wait(lock.native(), changed_, std::nullopt,
              [this]() TESSEL_REQUIRES(mutex_) { return signalled_ || abandoned_; });
  return clock_.wait(lock.native(), changed_, kAbandonedTimeout,
                     [this]() TESSEL_REQUIRES(mutex_) { return signalled_; });
}

}  // namespace tessel
