#include "session/StateRecord.h"

#include <utility>

namespace tessel {

std::int64_t StateRecord::value() const {
  const std::lock_guard lock{mutex_};
  return state_;
}

bool StateRecord::change(std::optional<std::int64_t> from, std::int64_t to,
                         const DelegateCall& call) {
  const std::lock_guard lock{mutex_};
  if (state_ == to || (from && state_ != *from)) return false;
  state_ = to;
  if (call.queue && call.operation) linedUp_.push_back(call);
  return true;
}

void StateRecord::lineUp(const DelegateCall& call) {
  const std::lock_guard lock{mutex_};
  if (call.queue && call.operation) linedUp_.push_back(call);
}

void StateRecord::handOver() {
  std::unique_lock lock{mutex_};
  if (handingOver_) return;
  handingOver_ = true;
  while (!linedUp_.empty()) {
    DelegateCall call = std::move(linedUp_.front());
    linedUp_.pop_front();
    lock.unlock();
    call.queue->addOperation(std::move(call.operation));
    call.queue.reset();  // perhaps the last reference: not under the lock
    lock.lock();
  }
  handingOver_ = false;
}

}  // namespace tessel
