#include "tests/support/SimScheduler.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tessel::test {

void BinarySemaphore::release() {
  const platform::MutexLock lock{mutex_};
  available_ = true;
  released_.notify_one();
}

void BinarySemaphore::acquire() {
  platform::MutexLock lock{mutex_};
  while (!available_) released_.wait(lock.native());
  available_ = false;
}

class SimQueue final : public platform::SerialQueue {
 public:
  SimQueue(SimScheduler& scheduler, std::shared_ptr<SimScheduler::Worker> worker)
      : scheduler_{scheduler}, worker_{std::move(worker)} {}

  void async(std::function<void()> task) override { scheduler_.post(worker_, std::move(task)); }
  const std::string& label() const override { return worker_->label; }
  bool isCurrent() const override { return SimScheduler::currentWorker() == worker_.get(); }

 private:
  SimScheduler& scheduler_;
  const std::shared_ptr<SimScheduler::Worker> worker_;
};

class SimTimer final : public platform::Timer, public std::enable_shared_from_this<SimTimer> {
 public:
  SimTimer(SimScheduler& scheduler, std::shared_ptr<platform::SerialQueue> queue,
           platform::Clock::Duration first, platform::Clock::Duration period,
           std::function<void()> handler)
      : scheduler_{scheduler},
        queue_{std::move(queue)},
        handler_{std::make_shared<std::function<void()>>(std::move(handler))},
        first_{first},
        period_{period} {
    scheduler_.timers_.push_back(this);
  }
  ~SimTimer() override { std::erase(scheduler_.timers_, this); }

  void resume() override {
    running_ = true;
    if (!due_) due_ = scheduler_.time_ + first_;
    fireIfDue();
  }
  void suspend() override { running_ = false; }
  void cancel() override {
    cancelled_ = true;
    handler_.reset();
  }

  void fireIfDue() {
    if (!live() || *due_ > scheduler_.time_) return;
    while (*due_ <= scheduler_.time_) *due_ += period_;
    if (std::exchange(queued_, true)) return;
    queue_->async([weak = weak_from_this()] {
      const auto self = weak.lock();
      if (!self) return;
      self->queued_ = false;
      if (!self->live()) return;
      const auto handler = self->handler_;
      (*handler)();
    });
  }

  bool live() const { return running_ && !cancelled_; }
  // Of a timer that is live.
  platform::Clock::Duration due() const { return *due_; }

 private:
  SimScheduler& scheduler_;
  const std::shared_ptr<platform::SerialQueue> queue_;
  std::shared_ptr<std::function<void()>> handler_;
  std::optional<platform::Clock::Duration> due_;  // none before the first resume
  const platform::Clock::Duration first_;
  const platform::Clock::Duration period_;
  bool running_ = false;
  bool cancelled_ = false;
  bool queued_ = false;
};

SimScheduler::SimScheduler() { main_ = makeSerialQueue("main"); }

void SimScheduler::end() {
  ending_ = true;
  run();
  for (const auto& worker : workers_) {
    if (!worker->thread.joinable()) continue;
    worker->task = nullptr;
    worker->go.release();
    worker->thread.join();
  }
}

SimScheduler::Worker*& SimScheduler::currentWorker() {
  thread_local Worker* worker = nullptr;
  return worker;
}

Date SimScheduler::now() {
  // Some fixed day, so that dates look like dates.
  return Date{std::chrono::hours{24 * 365 * 50}} +
         std::chrono::duration_cast<Date::duration>(time_);
}

void SimScheduler::run() {
  while (step()) {
  }
}

void SimScheduler::advance(Duration duration) {
  const Duration end = time_ + duration;
  run();
  while (time_ < end) {
    const auto next = nextEvent();
    time_ = next && *next < end ? std::max(*next, time_) : end;
    fireTimers();
    run();
  }
}

void SimScheduler::sleep(Duration duration) {
  block(time_ + duration, [] { return false; });
}

bool SimScheduler::wait(std::unique_lock<std::mutex>& lock, std::condition_variable&,
                        std::optional<Duration> timeout, const std::function<bool()>& ready) {
  if (ready()) return true;
  std::mutex& mutex = *lock.mutex();
  lock.unlock();
  const auto deadline = timeout ? std::optional{time_ + *timeout} : std::nullopt;
  block(deadline, [&mutex, &ready] {
    const std::lock_guard guard{mutex};
    return ready();
  });
  lock.lock();
  return ready();
}

std::shared_ptr<platform::SerialQueue> SimScheduler::makeSerialQueue(const std::string& label) {
  auto worker = std::make_shared<Worker>();
  worker->label = label;
  workers_.push_back(worker);
  return std::make_shared<SimQueue>(*this, std::move(worker));
}

std::shared_ptr<platform::Timer> SimScheduler::makeTimer(
    const std::shared_ptr<platform::SerialQueue>& queue, Duration first, Duration period,
    std::function<void()> handler) {
  return std::make_shared<SimTimer>(*this, queue, first, period, std::move(handler));
}

std::vector<std::string> SimScheduler::queueLabels() const {
  std::vector<std::string> labels;
  for (const auto& worker : workers_) labels.push_back(worker->label);
  return labels;
}

std::string SimScheduler::currentQueueLabel() {
  const Worker* worker = currentWorker();
  return worker ? worker->label : std::string{};
}

int SimScheduler::runningTimers() const {
  return static_cast<int>(std::ranges::count_if(timers_, &SimTimer::live));
}

void SimScheduler::post(const std::shared_ptr<Worker>& worker, std::function<void()> task) {
  pending_.push_back({worker, std::move(task)});
}

// Lets one thread run until it ends its task or blocks. False when none can.
bool SimScheduler::step() {
  for (std::size_t i = 0; i < workers_.size(); ++i) {
    const auto worker = workers_[i];
    if (!worker->mayGoOn) continue;
    const bool due = worker->deadline && *worker->deadline <= time_;
    if (!ending_ && !due && !worker->mayGoOn()) continue;
    worker->mayGoOn = nullptr;
    switchTo(*worker);
    return true;
  }
  const auto ready =
      std::ranges::find_if(pending_, [](const Pending& pending) { return !pending.worker->busy; });
  if (ready == pending_.end()) return false;
  const auto worker = ready->worker;
  worker->task = std::move(ready->task);
  pending_.erase(ready);
  worker->busy = true;
  if (!worker->thread.joinable()) {
    worker->thread = std::thread{[this, worker = worker.get()] { work(*worker); }};
  }
  switchTo(*worker);
  return true;
}

void SimScheduler::switchTo(Worker& worker) {
  worker.go.release();
  back_.acquire();
}

void SimScheduler::work(Worker& worker) {
  currentWorker() = &worker;
  for (;;) {
    worker.go.acquire();
    if (!worker.task) return;
    worker.task();
    worker.task = nullptr;
    worker.busy = false;
    back_.release();
  }
}

void SimScheduler::block(std::optional<Duration> deadline, std::function<bool()> mayGoOn) {
  if (ending_) return;
  if (Worker* worker = currentWorker()) {
    worker->deadline = deadline;
    worker->mayGoOn = std::move(mayGoOn);
    back_.release();
    worker->go.acquire();
    return;
  }
  while (!mayGoOn() && (!deadline || time_ < *deadline)) {
    if (step()) continue;
    auto next = nextEvent();
    if (deadline && (!next || *deadline < *next)) next = deadline;
    if (!next) throw std::logic_error{"the test waits for what can never happen"};
    time_ = std::max(*next, time_);
    fireTimers();
  }
}

void SimScheduler::fireTimers() {
  const auto timers = timers_;
  for (SimTimer* timer : timers) {
    if (std::ranges::find(timers_, timer) != timers_.end()) timer->fireIfDue();
  }
}

std::optional<platform::Clock::Duration> SimScheduler::nextEvent() const {
  std::optional<Duration> next;
  const auto consider = [&next](Duration at) {
    if (!next || at < *next) next = at;
  };
  for (const SimTimer* timer : timers_) {
    if (timer->live()) consider(timer->due());
  }
  for (const auto& worker : workers_) {
    if (worker->mayGoOn && worker->deadline) consider(*worker->deadline);
  }
  return next;
}

}  // namespace tessel::test
