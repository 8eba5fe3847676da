#include "platform/posix/net/AsioQueue.h"

#include <mutex>
#include <pthread.h>
#include <thread>
#include <utility>

#include "platform/posix/HostSignals.h"
#include "platform/posix/net/RunningLoops.h"

namespace tessel::platform {
namespace {

void nameThisThread(const std::string& label) {
  constexpr std::size_t kRoom = 15;  // what the kernel keeps of a thread's name
  pthread_setname_np(pthread_self(), label.substr(0, kRoom).c_str());
}

// The loop that the calling thread runs.
thread_local const void* runningLoop = nullptr;

}  // namespace

struct AsioQueue::Loop {
  explicit Loop(std::string name) : label{std::move(name)} {}

  const std::string label;
  asio::io_context context;
  asio::executor_work_guard<asio::io_context::executor_type> keepRunning{context.get_executor()};
};

std::shared_ptr<AsioQueue> AsioQueue::make(const std::string& label) {
  auto loop = std::make_shared<Loop>(label);
  const HostSignalsBlocked inherited;
  std::thread{[loop, &loops = RunningLoops::shared()] {
    nameThisThread(loop->label);
    runningLoop = loop.get();
    loops.run({loop, &loop->context});
  }}.detach();
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

std::shared_ptr<AsioQueue> waitingQueueOf(const std::shared_ptr<SerialQueue>& queue) {
  if (auto itself = std::dynamic_pointer_cast<AsioQueue>(queue)) return itself;
  static std::mutex& mutex = *new std::mutex;
  static std::weak_ptr<AsioQueue>& shared = *new std::weak_ptr<AsioQueue>;  // under mutex
  const std::lock_guard lock{mutex};
  auto helper = shared.lock();
  if (!helper) shared = helper = AsioQueue::make("tessel.waiting");
  return helper;
}

}  // namespace tessel::platform
