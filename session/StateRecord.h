#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "tessel/OperationQueue.h"

namespace tessel {

/// One call of a session's delegate, not yet made.
struct DelegateCall {
  std::shared_ptr<OperationQueue> queue;  ///< where to make it; null: on the calling thread
  std::function<void()> operation;        ///< empty when nobody is to be told
};

/// A session's state, and the calls that tell of it.
///
/// Threads race here: a channel comes up while the host disconnects. Calls for a queue are lined up
/// in the moment of the change, so that the queue hears of the changes in the order in which they
/// happened and its last word is the state in force. Any thread may call; the lock is not held
/// while a queue is called.
class StateRecord {
 public:
  explicit StateRecord(std::int64_t state) : state_{state} {}

  std::int64_t value() const;

  /// Stores `to` if that is a different value and, where `from` is given, the value was `from`; in
  /// the same moment lines up `call` if it is for a queue. Returns whether it stored.
  bool change(std::optional<std::int64_t> from, std::int64_t to, const DelegateCall& call);

  /// Lines up a call that tells of no change.
  void lineUp(const DelegateCall& call);

  /// Adds what is lined up to its queues, unless another thread is at it.
  void handOver();

 private:
  mutable std::mutex mutex_;  // guards all below
  std::int64_t state_;
  std::deque<DelegateCall> linedUp_;
  bool handingOver_ = false;
};

}  // namespace tessel
