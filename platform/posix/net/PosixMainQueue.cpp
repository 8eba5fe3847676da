#include "platform/posix/net/PosixMainQueue.h"

#include <sys/eventfd.h>
#include <utility>

#include "tessel/MainQueue.h"

namespace tessel::platform {
namespace {

thread_local bool runsMainQueueTask = false;

}  // namespace

const std::shared_ptr<PosixMainQueue>& PosixMainQueue::shared() {
  static const auto& queue =
      *new std::shared_ptr<PosixMainQueue>{std::make_shared<PosixMainQueue>()};
  return queue;
}

PosixMainQueue::PosixMainQueue() { sem_init(&wake_, 0, 0); }

PosixMainQueue::~PosixMainQueue() { sem_destroy(&wake_); }

void PosixMainQueue::async(std::function<void()> task) {
  {
    const MutexLock lock{mutex_};
    tasks_.push_back(std::move(task));
    if (tasks_.size() == 1) markReadable();
  }
  sem_post(&wake_);
}

bool PosixMainQueue::isCurrent() const { return runsMainQueueTask; }

void PosixMainQueue::run() {
  for (;;) {
    while (sem_wait(&wake_) != 0) {
      // Interrupted by a signal, whose handler may have called stop().
    }
    if (stopped_.exchange(false)) return;
    MutexLock lock{mutex_};
    if (tasks_.empty()) continue;  // drained since
    auto task = take();
    lock.unlock();
    perform(std::move(task));
  }
}

void PosixMainQueue::stop() {
  stopped_ = true;
  sem_post(&wake_);
}

int PosixMainQueue::fileDescriptor() {
  const MutexLock lock{mutex_};
  if (readable_ < 0) {
    readable_ = eventfd(tasks_.empty() ? 0 : 1, EFD_CLOEXEC | EFD_NONBLOCK);
  }
  return readable_;
}

void PosixMainQueue::drain() {
  MutexLock lock{mutex_};
  // What the tasks add waits for the next call, or the host's own loop would starve.
  for (auto left = tasks_.size(); left > 0 && !tasks_.empty(); --left) {
    auto task = take();
    lock.unlock();
    perform(std::move(task));
    lock.lock();
  }
}

std::function<void()> PosixMainQueue::take() {
  auto task = std::move(tasks_.front());
  tasks_.pop_front();
  if (tasks_.empty()) markIdle();
  return task;
}

void PosixMainQueue::perform(std::function<void()> task) {
  const bool outer = std::exchange(runsMainQueueTask, true);
  task();
  task = nullptr;
  runsMainQueueTask = outer;
}

void PosixMainQueue::markReadable() {
  if (readable_ >= 0) eventfd_write(readable_, 1);
}

void PosixMainQueue::markIdle() {
  eventfd_t count = 0;
  if (readable_ >= 0) eventfd_read(readable_, &count);
}

}  // namespace tessel::platform

namespace tessel {

using platform::PosixMainQueue;

void runMainQueue() { PosixMainQueue::shared()->run(); }

void stopMainQueue() { PosixMainQueue::shared()->stop(); }

int mainQueueFileDescriptor() { return PosixMainQueue::shared()->fileDescriptor(); }

void drainMainQueue() { PosixMainQueue::shared()->drain(); }

}  // namespace tessel
