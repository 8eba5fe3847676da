#include <utility>

#include "platform/posix/net/AsioQueue.h"
#include "platform/posix/net/AsioTimer.h"
#include "platform/posix/net/NetServices.h"
#include "platform/posix/net/PosixMainQueue.h"

namespace tessel::platform {
namespace {

class AsioQueues final : public Queues {
 public:
  std::shared_ptr<SerialQueue> makeSerialQueue(const std::string& label) override {
    return AsioQueue::make(label);
  }

  std::shared_ptr<SerialQueue> mainQueue() override { return PosixMainQueue::shared(); }

  std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first,
                                   Clock::Duration period, std::function<void()> handler) override {
    return std::make_shared<AsioTimer>(queue, first, period, std::move(handler));
  }
};

}  // namespace

std::shared_ptr<Queues> makeQueues() { return std::make_shared<AsioQueues>(); }

}  // namespace tessel::platform
