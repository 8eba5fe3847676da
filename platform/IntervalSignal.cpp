#include "platform/IntervalSignal.h"

#include <utility>
#include <vector>

#include "platform/Services.h"
#include "platform/base/Mutex.h"

namespace tessel::platform {
namespace {

// Holds one timer for each subscription. Any thread.
class IntervalSignal : public Signal<Date> {
 public:
  IntervalSignal(std::shared_ptr<SerialQueue> queue, Clock::Duration period)
      : queue_{std::move(queue)}, period_{period} {}

  void subscribeNext(Next next) override {
    auto timer = services().queues->makeTimer(
        queue_, period_, period_,
        [next = std::move(next), clock = services().clock] { next(clock->now()); });
    timer->resume();
    const MutexLock lock{mutex_};
    timers_.push_back(std::move(timer));
  }

 private:
  const std::shared_ptr<SerialQueue> queue_;
  const Clock::Duration period_;
  Mutex mutex_;
  std::vector<std::shared_ptr<Timer>> timers_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace

std::shared_ptr<Signal<Date>> intervalSignal(const std::shared_ptr<SerialQueue>& queue,
                                             Clock::Duration period) {
  return std::make_shared<IntervalSignal>(queue, period);
}

}  // namespace tessel::platform
