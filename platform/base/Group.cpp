#include "platform/base/Group.h"

namespace tessel::platform {

void Group::enter() {
  const MutexLock lock{mutex_};
  ++count_;
}

void Group::leave() {
  const MutexLock lock{mutex_};
  if (count_ > 0) --count_;
  changed_.notify_all();
}

bool Group::wait(Clock::Duration timeout) {
  MutexLock lock{mutex_};
  return clock_.wait(lock.native(), changed_, timeout,
                     [this]() TESSEL_REQUIRES(mutex_) { return count_ == 0; });
}

void Condition::signal() {
  const MutexLock lock{mutex_};
  signalled_ = true;
  changed_.notify_all();
}

void Condition::wait() {
  MutexLock lock{mutex_};
  clock_.wait(lock.native(), changed_, std::nullopt,
              [this]() TESSEL_REQUIRES(mutex_) { return signalled_; });
}

}  // namespace tessel::platform
