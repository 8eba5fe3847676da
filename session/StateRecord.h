#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "platform/base/Mutex.h"
#include "tessel/OperationQueue.h"

namespace tessel {

/// One call of a session's delegate, not yet made.
struct DelegateCall {
  std::shared_ptr<OperationQueue> queue;  ///< where to make it; null: on the calling thread
  std::function<void()> operation;        ///< empty without a delegate
};

/// A session's state, and the calls that report it.
///
/// Threads race here: a channel opens while the host disconnects. A call for a queue is enqueued
/// under the same lock as the change that it reports, so the queue gets the changes in the order in
/// which they happened, and the last one it gets is the state in force. Any thread may call; the
/// lock is not held while a queue is called.
class StateRecord {
 public:
  explicit StateRecord(std::int64_t state) : state_{state} {}

  std::int64_t value() const;

  /// Stores `to` if that is a different value and, where `from` is given, the value was `from`, and
  /// enqueues `call` if it is for a queue. Returns whether it stored.
  bool change(std::optional<std::int64_t> from, std::int64_t to, const DelegateCall& call);

  /// Enqueues a call that reports no change.
  void enqueue(const DelegateCall& call);

  /// Adds what is enqueued to its queues, unless another thread does that now. A call that its
  /// queue refuses by an exception is dropped; the next ones are still made.
  void deliver();

 private:
  mutable platform::Mutex mutex_;
  std::int64_t state_ TESSEL_GUARDED_BY(mutex_);
  std::deque<DelegateCall> pending_ TESSEL_GUARDED_BY(mutex_);
  bool delivering_ TESSEL_GUARDED_BY(mutex_) = false;
};

}  // namespace tessel
