#include "session/StateRecord.h"

#include <utility>

namespace tessel {
namespace {

// The queue is the host's. What it throws must reach neither a thread of the library nor the steps
// of the session that follow.
void addToQueue(DelegateCall call) {
  try {
    call.queue->addOperation(std::move(call.operation));
  } catch (...) {
  }
}

}  // namespace

std::int64_t StateRecord::value() const {
  const platform::MutexLock lock{mutex_};
  return state_;
}

bool StateRecord::change(std::optional<std::int64_t> from, std::int64_t to,
                         const DelegateCall& call) {
  const platform::MutexLock lock{mutex_};
  if (state_ == to || (from && state_ != *from)) return false;
  state_ = to;
  if (call.queue && call.operation) pending_.push_back(call);
  return true;
}

void StateRecord::enqueue(const DelegateCall& call) {
  const platform::MutexLock lock{mutex_};
  if (call.queue && call.operation) pending_.push_back(call);
}

void StateRecord::deliver() {
  platform::MutexLock lock{mutex_};
  if (delivering_) return;
  delivering_ = true;
  while (!pending_.empty()) {
    DelegateCall call = std::move(pending_.front());
    pending_.pop_front();
    lock.unlock();
    addToQueue(std::move(call));  // may drop the queue's last reference
    lock.lock();
  }
  delivering_ = false;
}

}  // namespace tessel
