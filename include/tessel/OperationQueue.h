#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tessel/Export.h"

namespace tessel {

/// Where a host wants to be called: it runs operations one after another, in the order added.
/// A host may implement it on its own event loop, or take one of the two made here.
class TESSEL_EXPORT OperationQueue {
 public:
  virtual ~OperationQueue() = default;

  /// Runs `operation` later, never before returning. Any thread. An operation whose addition throws
  /// is dropped.
  virtual void addOperation(std::function<void()> operation) = 0;

  /// A queue with a thread of its own, named `label`.
  static std::shared_ptr<OperationQueue> serialQueue(const std::string& label);

  /// The main queue (see tessel/MainQueue.h).
  static std::shared_ptr<OperationQueue> mainQueue();
};

}  // namespace tessel
