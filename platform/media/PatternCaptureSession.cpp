#include "platform/media/PatternCaptureSession.h"

#include <cassert>
#include <utility>

#include "platform/media/FramePacer.h"
#include "platform/media/TestPattern.h"

namespace tessel::platform {

// Paints and delivers the frames, on `queue` only.
class PatternCaptureSession::Painter {
 public:
  Painter(int width, int height, Clock::Duration minFrameDuration, std::shared_ptr<Clock> clock,
          std::shared_ptr<SerialQueue> queue, std::shared_ptr<SampleDelivery> delivery)
      : pattern_{width, height},
        pool_{width, height},
        pacer_{minFrameDuration},
        clock_{std::move(clock)},
        queue_{std::move(queue)},
        delivery_{std::move(delivery)} {}

  void tick() {
    assert(queue_->isCurrent());
    // A tick is early only by as much as the one before it was late.
    const Clock::Duration early = pacer_.due() - clock_->uptime();
    if (early > Clock::Duration::zero()) clock_->sleep(early);
    const Clock::Duration captured = clock_->uptime();
    pacer_.advance(captured);
    ++counter_;
    if (delivery_->busy()) {
      delivery_->drop({nullptr, captured});
      return;
    }
    const PooledPicture taken = pool_.take();
    paint(pattern_.background(), taken.picture);
    paint(pattern_.foreground(counter_), taken.picture);
    delivery_->deliver({taken.buffer, captured});
  }

 private:
  const TestPattern pattern_;
  PixelBufferPool pool_;
  FramePacer pacer_;
  const std::shared_ptr<Clock> clock_;
  const std::shared_ptr<SerialQueue> queue_;
  const std::shared_ptr<SampleDelivery> delivery_;
  std::uint32_t counter_ = 0;
};

PatternCaptureSession::PatternCaptureSession(std::shared_ptr<Queues> queues,
                                             std::shared_ptr<Clock> clock,
                                             const CaptureInput& input, const CaptureOutput& output,
                                             const std::weak_ptr<CaptureOutputDelegate>& delegate,
                                             const std::shared_ptr<SerialQueue>& queue)
    : queues_{std::move(queues)},
      queue_{queues_->makeSerialQueue("Test Picture")},
      period_{input.minFrameDuration},
      delivery_{std::make_shared<SampleDelivery>(delegate, queue)},
      painter_{std::make_shared<Painter>(static_cast<int>(output.size.width),
                                         static_cast<int>(output.size.height), period_,
                                         std::move(clock), queue_, delivery_)} {}

PatternCaptureSession::~PatternCaptureSession() { stopRunning(); }

void PatternCaptureSession::startRunning() {
  const MutexLock lock{mutex_};
  if (timer_) return;
  delivery_->start();
  timer_ = queues_->makeTimer(queue_, Clock::Duration::zero(), period_,
                              [painter = painter_] { painter->tick(); });
  timer_->resume();
}

void PatternCaptureSession::stopRunning() {
  std::shared_ptr<Timer> timer;
  {
    const MutexLock lock{mutex_};
    timer = std::exchange(timer_, nullptr);
  }
  if (timer) timer->cancel();
  delivery_->stop();
}

}  // namespace tessel::platform
