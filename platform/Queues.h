#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "tessel/OperationQueue.h"

namespace tessel::platform {

/// Runs tasks one after another, in the order given, on one thread that bears its label.
///
/// Tasks queued before the last reference is dropped still run. The last reference may be dropped
/// anywhere, also by a task of the queue itself.
class SerialQueue : public OperationQueue {
 public:
  /// Runs `task` later, never before returning. Any thread.
  virtual void async(std::function<void()> task) = 0;

  /// The name of the queue, and of its thread as far as the system has room for it.
  virtual const std::string& label() const = 0;

  /// Whether the calling thread is now running a task of this queue.
  virtual bool isCurrent() const = 0;

  void addOperation(std::function<void()> operation) final { async(std::move(operation)); }
};

/// Calls a handler on a queue, again and again. Made suspended; runs while resumed. Any thread.
///
/// A tick that comes due while suspended comes once, at the resume. Ticks that come due while the
/// handler runs are merged into one. Dropping the timer cancels it. The handler is let go when the
/// timer is cancelled and no call of it is under way.
class Timer {
 public:
  virtual ~Timer() = default;
  virtual void resume() = 0;
  virtual void suspend() = 0;
  /// For good: no call of the handler begins after this returns on the timer's own queue; from
  /// another thread, one that has begun may still finish.
  virtual void cancel() = 0;
};

/// Makes queues and timers.
class Queues {
 public:
  virtual ~Queues() = default;

  virtual std::shared_ptr<SerialQueue> makeSerialQueue(const std::string& label) = 0;

  /// The one queue that the host runs (see tessel/MainQueue.h).
  virtual std::shared_ptr<SerialQueue> mainQueue() = 0;

  /// A suspended timer. Its first tick is due `first` after its first resume, each later one a
  /// `period` after the one before, without drift.
  virtual std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue,
                                           Clock::Duration first, Clock::Duration period,
                                           std::function<void()> handler) = 0;
};

}  // namespace tessel::platform
