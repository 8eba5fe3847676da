#include "platform/posix/net/AsioTimer.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/posix/net/AsioQueue.h"

namespace tessel::platform {

/// The timer's work. It waits on the waiting queue and ticks on the target; any thread may change
/// its mind about it, so what decides is under a lock.
class AsioTimer::Ticking : public std::enable_shared_from_this<Ticking> {
 public:
  Ticking(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first, Clock::Duration period,
          std::function<void()> handler)
      : target_{queue},
        waiting_{waitingQueueOf(queue)},
        wait_{waiting_->context()},
        period_{std::max<Clock::Duration>(period, std::chrono::nanoseconds{1})},
        due_{std::chrono::steady_clock::now() + first},
        handler_{std::move(handler)} {}

  void resume() {
    const std::lock_guard lock{mutex_};
    if (!std::exchange(suspended_, false)) return;
    waiting_->async([self = shared_from_this()] { self->arm(); });
  }

  void suspend() {
    const std::lock_guard lock{mutex_};
    if (std::exchange(suspended_, true)) return;
    waiting_->async([self = shared_from_this()] { self->arm(); });
  }

  void cancel() {
    std::function<void()> letGo;  // outside the lock: it may own anything
    const std::lock_guard lock{mutex_};
    if (std::exchange(cancelled_, true)) return;
    if (!ticking_) letGo.swap(handler_);
    waiting_->async([self = shared_from_this()] { self->arm(); });
  }

 private:
  // On the waiting queue. Waits for the moment that is due, or no more.
  void arm() {
    const std::lock_guard lock{mutex_};
    if (suspended_ || cancelled_) {
      wait_.cancel();
      return;
    }
    if (tickQueued_) return;  // the tick arms again
    wait_.expires_at(due_);
    wait_.async_wait([self = shared_from_this()](const asio::error_code& error) {
      if (!error) self->reachDue();
    });
  }

  // On the waiting queue.
  void reachDue() {
    {
      const std::lock_guard lock{mutex_};
      // A wait that was replaced as it ended comes here as well.
      if (tickQueued_ || std::chrono::steady_clock::now() < due_) return;
      tickQueued_ = true;
    }
    if (waiting_ == target_) {
      tick();
    } else {
      target_->async([self = shared_from_this()] { self->tick(); });
    }
  }

  // On the target queue.
  void tick() {
    if (beginTick()) {
      handler_();
      endTick();
    }
    if (waiting_ == target_) {
      arm();
    } else {
      waiting_->async([self = shared_from_this()] { self->arm(); });
    }
  }

  bool beginTick() {
    const std::lock_guard lock{mutex_};
    tickQueued_ = false;
    if (suspended_ || cancelled_) return false;
    // From one multiple of the period to the next: what was missed is merged, nothing drifts.
    const auto late = std::chrono::steady_clock::now() - due_;
    due_ += period_ * (1 + late / period_);
    ticking_ = true;
    return true;
  }

  void endTick() {
    std::function<void()> letGo;
    const std::lock_guard lock{mutex_};
    ticking_ = false;
    if (cancelled_) letGo.swap(handler_);
  }

  const std::shared_ptr<SerialQueue> target_;
  const std::shared_ptr<AsioQueue> waiting_;
  asio::steady_timer wait_;  // waiting_
  const Clock::Duration period_;

  std::mutex mutex_;  // guards what follows; the handler runs without it
  std::chrono::steady_clock::time_point due_;
  bool suspended_ = true;
  bool cancelled_ = false;
  bool tickQueued_ = false;  // on its way to the target
  bool ticking_ = false;     // the handler runs
  std::function<void()> handler_;
};

AsioTimer::AsioTimer(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first,
                     Clock::Duration period, std::function<void()> handler)
    : ticking_{std::make_shared<Ticking>(queue, first, period, std::move(handler))} {}

AsioTimer::~AsioTimer() { ticking_->cancel(); }

void AsioTimer::resume() { ticking_->resume(); }

void AsioTimer::suspend() { ticking_->suspend(); }

void AsioTimer::cancel() { ticking_->cancel(); }

}  // namespace tessel::platform
