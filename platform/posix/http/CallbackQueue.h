#pragma once

#include <memory>
#include <mutex>

#include "platform/Queues.h"

namespace tessel::platform {

/// The serial queue that a URL session calls back on, made when first used: a session whose
/// transfer is still queued has no thread. Any thread.
class CallbackQueue {
 public:
  explicit CallbackQueue(std::shared_ptr<Queues> queues) : queues_{std::move(queues)} {}

  SerialQueue& get() {
    std::call_once(made_, [this] { queue_ = queues_->makeSerialQueue("tessel.url"); });
    return *queue_;
  }

 private:
  const std::shared_ptr<Queues> queues_;
  std::once_flag made_;
  std::shared_ptr<SerialQueue> queue_;
};

}  // namespace tessel::platform
