#include "tessel/OperationQueue.h"

#include "platform/Services.h"

namespace tessel {

std::shared_ptr<OperationQueue> OperationQueue::serialQueue(const std::string& label) {
  return platform::services().queues->makeSerialQueue(label);
}

std::shared_ptr<OperationQueue> OperationQueue::mainQueue() {
  return platform::services().queues->mainQueue();
}

}  // namespace tessel
