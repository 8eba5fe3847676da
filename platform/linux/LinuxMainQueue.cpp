#include "platform/linux/LinuxMainQueue.h"

#include <sys/eventfd.h>
#include <utility>

#include "tessel/MainQueue.h"

namespace tessel::platform {
namespace {

thread_local bool runsMainQueueTask = false;

}  // namespace

const std::shared_ptr<LinuxMainQueue>& LinuxMainQueue::shared() {
  static const auto& queue =
      *new std::shared_ptr<LinuxMainQueue>{std::make_shared<LinuxMainQueue>()};
  return queue;
}

LinuxMainQueue::LinuxMainQueue() { sem_init(&wake_, 0, 0); }

LinuxMainQueue::~LinuxMainQueue() { sem_destroy(&wake_); }

void LinuxMainQueue::async(std::function<void()> task) {
  {
    const std::lock_guard lock{mutex_};
    tasks_.push_back(std::move(task));
    if (tasks_.size() == 1) markReadable();
  }
  sem_post(&wake_);
}

bool LinuxMainQueue::isCurrent() const { return runsMainQueueTask; }

void LinuxMainQueue::run() {
  for (;;) {
    while (sem_wait(&wake_) != 0) {
      // A signal came; its handler may have been the one that stops this.
    }
    if (stopped_.exchange(false)) return;
    std::unique_lock lock{mutex_};
    if (tasks_.empty()) continue;  // drained since
    auto task = take();
    lock.unlock();
    perform(std::move(task));
  }
}

void LinuxMainQueue::stop() {
  stopped_ = true;
  sem_post(&wake_);
}

int LinuxMainQueue::fileDescriptor() {
  const std::lock_guard lock{mutex_};
  if (readable_ < 0) {
    readable_ = eventfd(tasks_.empty() ? 0 : 1, EFD_CLOEXEC | EFD_NONBLOCK);
  }
  return readable_;
}

void LinuxMainQueue::drain() {
  std::unique_lock lock{mutex_};
  // What the tasks add waits for the next call, or the host's own loop would starve.
  for (auto left = tasks_.size(); left > 0 && !tasks_.empty(); --left) {
    auto task = take();
    lock.unlock();
    perform(std::move(task));
    lock.lock();
  }
}

// Under mutex_.
std::function<void()> LinuxMainQueue::take() {
  auto task = std::move(tasks_.front());
  tasks_.pop_front();
  if (tasks_.empty()) markIdle();
  return task;
}

void LinuxMainQueue::perform(std::function<void()> task) {
  const bool outer = std::exchange(runsMainQueueTask, true);
  task();
  task = nullptr;
  runsMainQueueTask = outer;
}

// Under mutex_.
void LinuxMainQueue::markReadable() {
  if (readable_ >= 0) eventfd_write(readable_, 1);
}

// Under mutex_.
void LinuxMainQueue::markIdle() {
  eventfd_t count = 0;
  if (readable_ >= 0) eventfd_read(readable_, &count);
}

}  // namespace tessel::platform

namespace tessel {

using platform::LinuxMainQueue;

void runMainQueue() { LinuxMainQueue::shared()->run(); }

void stopMainQueue() { LinuxMainQueue::shared()->stop(); }

int mainQueueFileDescriptor() { return LinuxMainQueue::shared()->fileDescriptor(); }

void drainMainQueue() { LinuxMainQueue::shared()->drain(); }

}  // namespace tessel
