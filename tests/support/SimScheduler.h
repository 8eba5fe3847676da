#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/Queues.h"
#include "platform/base/Mutex.h"

namespace tessel::test {

class SimTimer;

/// Passes control between two threads, one of which always waits.
class BinarySemaphore {
 public:
  void release();
  void acquire();

 private:
  platform::Mutex mutex_;
  std::condition_variable released_;
  bool available_ TESSEL_GUARDED_BY(mutex_) = false;
};

/// Simulated time, queues and timers.
///
/// Every queue has a thread of its own, so that code may block, but only one thread runs at any
/// moment: control goes from the test's thread to one queue and comes back when that queue's task
/// has ended or blocks in the clock. What runs next is decided by the order of posting alone, so
/// every run of a test is the same.
///
/// The test's thread drives: `run` and `advance` from there only. Blocking calls on the test's own
/// thread let the world go on, time included, until they may return.
class SimScheduler final : public platform::Clock, public platform::Queues {
 public:
  SimScheduler();
  ~SimScheduler() override { end(); }

  /// Lets everything that is blocked go on at once, runs what is left, and ends the threads.
  void end();

  /// Runs what is ready until nothing is. Time stands still.
  void run();
  /// Runs what is ready, moving time forward by `duration`, timers and sleepers in order.
  void advance(Duration duration);

  Date now() override;
  Duration uptime() override { return time_; }
  void sleep(Duration duration) override;
  bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
            std::optional<Duration> timeout, const std::function<bool()>& ready) override;

  std::shared_ptr<platform::SerialQueue> makeSerialQueue(const std::string& label) override;
  std::shared_ptr<platform::SerialQueue> mainQueue() override { return main_; }
  std::shared_ptr<platform::Timer> makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                             Duration first, Duration period,
                                             std::function<void()> handler) override;

  /// Labels of the queues made so far, the main queue's "main" first.
  std::vector<std::string> queueLabels() const;
  /// Label of the queue that runs now; empty on the test's own thread.
  static std::string currentQueueLabel();
  /// Timers that are resumed and not cancelled.
  int runningTimers() const;

 private:
  friend class SimQueue;
  friend class SimTimer;

  /// The thread of one queue. It has control from its acquire of `go` to its release of `back_`.
  struct Worker {
    std::string label;
    std::thread thread;
    BinarySemaphore go;
    bool busy = false;  // runs a task, or is blocked in one
    std::function<void()> task;
    // Set while blocked: whether it may go on.
    std::function<bool()> mayGoOn;
    std::optional<Duration> deadline;
  };
  struct Pending {
    std::shared_ptr<Worker> worker;
    std::function<void()> task;
  };

  void post(const std::shared_ptr<Worker>& worker, std::function<void()> task);
  bool step();
  void switchTo(Worker& worker);
  void block(std::optional<Duration> deadline, std::function<bool()> mayGoOn);
  void fireTimers();
  std::optional<Duration> nextEvent() const;
  void work(Worker& worker);
  static Worker*& currentWorker();

  Duration time_{0};
  bool ending_ = false;
  BinarySemaphore back_;
  std::deque<Pending> pending_;
  std::vector<std::shared_ptr<Worker>> workers_;
  std::vector<SimTimer*> timers_;  // in the order of creation
  std::shared_ptr<platform::SerialQueue> main_;
};

}  // namespace tessel::test
