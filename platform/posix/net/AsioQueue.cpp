#include "platform/posix/net/AsioQueue.h"

#include <utility>

#include "platform/base/Mutex.h"
#include "platform/posix/Thread.h"
#include "platform/posix/net/LoopRegistry.h"

namespace tessel::platform {
namespace {

// The loop that the calling thread runs.
thread_local const void* runningLoop = nullptr;

// The queue that waits for the queues that cannot.
class SharedIoQueue {
 public:
  std::shared_ptr<AsioQueue> get() {
    const MutexLock lock{mutex_};
    auto queue = queue_.lock();
    if (!queue) queue_ = queue = AsioQueue::make("tessel.io");
    return queue;
  }

 private:
  Mutex mutex_;
  std::weak_ptr<AsioQueue> queue_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace

struct AsioQueue::Loop {
  explicit Loop(std::string name) : label{std::move(name)} {}

  const std::string label;
  asio::io_context context;
  asio::executor_work_guard<asio::io_context::executor_type> keepRunning{context.get_executor()};
};

std::shared_ptr<AsioQueue> AsioQueue::make(const std::string& label) {
  auto loop = std::make_shared<Loop>(label);
  startThread(label, [loop, &registry = LoopRegistry::shared()] {
    runningLoop = loop.get();
    registry.run({loop, &loop->context});
  }).detach();
  return std::shared_ptr<AsioQueue>{new AsioQueue{std::move(loop)}};
}

AsioQueue::AsioQueue(std::shared_ptr<Loop> loop) : loop_{std::move(loop)} {}

AsioQueue::~AsioQueue() { loop_->keepRunning.reset(); }

void AsioQueue::async(std::function<void()> task) {
  const auto loop = loop_;  // the task may drop the queue before the post has returned
  asio::post(loop->context, std::move(task));
}

const std::string& AsioQueue::label() const { return loop_->label; }

bool AsioQueue::isCurrent() const { return runningLoop == loop_.get(); }

asio::io_context& AsioQueue::context() { return loop_->context; }

std::shared_ptr<AsioQueue> ioQueueOf(const std::shared_ptr<SerialQueue>& queue) {
  if (auto itself = std::dynamic_pointer_cast<AsioQueue>(queue)) return itself;
  static SharedIoQueue& shared = *new SharedIoQueue;  // may be used while the process exits
  return shared.get();
}

}  // namespace tessel::platform
