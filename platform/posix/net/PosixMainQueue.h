#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <semaphore.h>
#include <string>

#include "platform/Queues.h"
#include "platform/base/Mutex.h"

namespace tessel::platform {

/// The main queue: it has no thread, the host runs or drains it. Never destroyed.
class PosixMainQueue final : public SerialQueue {
 public:
  static const std::shared_ptr<PosixMainQueue>& shared();

  PosixMainQueue();
  ~PosixMainQueue() override;
  PosixMainQueue(const PosixMainQueue&) = delete;
  PosixMainQueue& operator=(const PosixMainQueue&) = delete;

  void async(std::function<void()> task) override;
  const std::string& label() const override { return label_; }
  bool isCurrent() const override;

  // See tessel/MainQueue.h.
  void run();
  void stop();
  int fileDescriptor();
  void drain();

 private:
  std::function<void()> take() TESSEL_REQUIRES(mutex_);
  void perform(std::function<void()> task);
  void markReadable() TESSEL_REQUIRES(mutex_);
  void markIdle() TESSEL_REQUIRES(mutex_);

  const std::string label_ = "main";

  // A signal handler may set the one and post the other: neither takes a lock.
  std::atomic<bool> stopped_ = false;
  sem_t wake_;  // posted for each task and each stop

  Mutex mutex_;
  std::deque<std::function<void()>> tasks_ TESSEL_GUARDED_BY(mutex_);
  // An eventfd that counts above zero while there are tasks; made when asked for.
  int readable_ TESSEL_GUARDED_BY(mutex_) = -1;
};

}  // namespace tessel::platform
