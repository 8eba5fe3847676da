#include "platform/posix/net/AsioTimer.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

#include "platform/base/Mutex.h"
#include "platform/posix/net/AsioQueue.h"

namespace tessel::platform {

/// What the timer shares with the waits under way. It waits on `ioQueue_` and ticks on
/// `callbackQueue_`; any thread may resume, suspend or cancel it.
class AsioTimer::State : public std::enable_shared_from_this<State> {
 public:
  State(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first, Clock::Duration period,
        std::function<void()> handler)
      : callbackQueue_{queue},
        ioQueue_{ioQueueOf(queue)},
        wait_{ioQueue_->context()},
        first_{first},
        period_{std::max<Clock::Duration>(period, std::chrono::nanoseconds{1})},
        handler_{std::move(handler)} {}

  void resume() {
    const MutexLock lock{mutex_};
    if (!std::exchange(suspended_, false)) return;
    if (!due_) due_ = std::chrono::steady_clock::now() + first_;
    ioQueue_->async([self = shared_from_this()] { self->arm(); });
  }

  void suspend() {
    const MutexLock lock{mutex_};
    if (std::exchange(suspended_, true)) return;
    ioQueue_->async([self = shared_from_this()] { self->arm(); });
  }

  void cancel() {
    std::function<void()> released;  // destroyed without the lock: it may own anything
    const MutexLock lock{mutex_};
    if (std::exchange(cancelled_, true)) return;
    if (!ticking_) released.swap(handler_);
    ioQueue_->async([self = shared_from_this()] { self->arm(); });
  }

 private:
  // Waits until the next tick is due, unless suspended or cancelled.
  void arm() {
    assert(ioQueue_->isCurrent());
    const MutexLock lock{mutex_};
    if (suspended_ || cancelled_) {
      wait_.cancel();
      return;
    }
    if (tickQueued_) return;  // the tick arms again
    wait_.expires_at(*due_);
    wait_.async_wait([self = shared_from_this()](const asio::error_code& error) {
      if (!error) self->reachDue();
    });
  }

  void reachDue() {
    assert(ioQueue_->isCurrent());
    {
      const MutexLock lock{mutex_};
      // A wait that was replaced as it ended comes here as well.
      if (tickQueued_ || std::chrono::steady_clock::now() < *due_) return;
      tickQueued_ = true;
    }
    if (ioQueue_ == callbackQueue_) {
      tick();
    } else {
      callbackQueue_->async([self = shared_from_this()] { self->tick(); });
    }
  }

  void tick() {
    assert(callbackQueue_->isCurrent());
    if (beginTick()) {
      handler_();
      endTick();
    }
    if (ioQueue_ == callbackQueue_) {
      arm();
    } else {
      ioQueue_->async([self = shared_from_this()] { self->arm(); });
    }
  }

  bool beginTick() {
    const MutexLock lock{mutex_};
    tickQueued_ = false;
    if (suspended_ || cancelled_) return false;
    // From one multiple of the period to the next: what was missed is merged, nothing drifts.
    const auto late = std::chrono::steady_clock::now() - *due_;
    *due_ += period_ * (1 + late / period_);
    ticking_ = true;
    return true;
  }

  void endTick() {
    std::function<void()> released;
    const MutexLock lock{mutex_};
    ticking_ = false;
    if (cancelled_) released.swap(handler_);
  }

  const std::shared_ptr<SerialQueue> callbackQueue_;
  const std::shared_ptr<AsioQueue> ioQueue_;
  asio::steady_timer wait_;  // on ioQueue_
  const Clock::Duration first_;
  const Clock::Duration period_;

  Mutex mutex_;  // not held while the handler runs
  std::optional<std::chrono::steady_clock::time_point> due_ TESSEL_GUARDED_BY(mutex_);
  bool suspended_ TESSEL_GUARDED_BY(mutex_) = true;
  bool cancelled_ TESSEL_GUARDED_BY(mutex_) = false;
  bool tickQueued_ TESSEL_GUARDED_BY(mutex_) = false;  // on its way to callbackQueue_
  bool ticking_ TESSEL_GUARDED_BY(mutex_) = false;     // the handler runs
  // Replaced under mutex_, and not while ticking_: the tick calls it without the lock.
  std::function<void()> handler_;
};

AsioTimer::AsioTimer(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first,
                     Clock::Duration period, std::function<void()> handler)
    : state_{std::make_shared<State>(queue, first, period, std::move(handler))} {}

AsioTimer::~AsioTimer() { state_->cancel(); }

void AsioTimer::resume() { state_->resume(); }

void AsioTimer::suspend() { state_->suspend(); }

void AsioTimer::cancel() { state_->cancel(); }

}  // namespace tessel::platform
