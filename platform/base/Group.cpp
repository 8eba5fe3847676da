#include "platform/base/Group.h"

namespace tessel::platform {

void Group::enter() {
  const std::lock_guard lock{mutex_};
  ++count_;
}

void Group::leave() {
  const std::lock_guard lock{mutex_};
  if (count_ > 0) --count_;
  changed_.notify_all();
}

bool Group::wait(Clock::Duration timeout) {
  std::unique_lock lock{mutex_};
  return clock_.wait(lock, changed_, timeout, [this] { return count_ == 0; });
}

void Condition::signal() {
  const std::lock_guard lock{mutex_};
  signalled_ = true;
  changed_.notify_all();
}

void Condition::wait() {
  std::unique_lock lock{mutex_};
  clock_.wait(lock, changed_, std::nullopt, [this] { return signalled_; });
}

}  // namespace tessel::platform
