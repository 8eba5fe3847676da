#include "display/StartGate.h"

namespace tessel {

void StartGate::signal() {
  const std::lock_guard lock{mutex_};
  signalled_ = true;
  changed_.notify_all();
}

void StartGate::abandon() {
  const std::lock_guard lock{mutex_};
  abandoned_ = true;
  changed_.notify_all();
}

bool StartGate::wait() {
  std::unique_lock lock{mutex_};
  clock_.wait(lock, changed_, std::nullopt, [this] { return signalled_ || abandoned_; });
  return clock_.wait(lock, changed_, kGrace, [this] { return signalled_; });
}

}  // namespace tessel
