#include <utility>

#include "platform/linux/AsioQueue.h"
#include "platform/linux/AsioTimer.h"
#include "platform/linux/CoreServices.h"
#include "platform/linux/LinuxMainQueue.h"

namespace tessel::platform {
namespace {

class LinuxQueues final : public Queues {
 public:
  std::shared_ptr<SerialQueue> makeSerialQueue(const std::string& label) override {
    return AsioQueue::make(label);
  }

  std::shared_ptr<SerialQueue> mainQueue() override { return LinuxMainQueue::shared(); }

  std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first,
                                   Clock::Duration period, std::function<void()> handler) override {
    return std::make_shared<AsioTimer>(queue, first, period, std::move(handler));
  }
};

}  // namespace

std::shared_ptr<Queues> makeQueues() { return std::make_shared<LinuxQueues>(); }

}  // namespace tessel::platform
