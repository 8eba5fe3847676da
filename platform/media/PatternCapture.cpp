#include "platform/media/PatternCapture.h"

#include <utility>

#include "platform/media/TestPattern.h"

namespace tessel::platform {
namespace {

constexpr Clock::Duration kDefaultFrameDuration =
    std::chrono::nanoseconds{std::chrono::seconds{1}} / 30;

}  // namespace

// Paints frames, on the timer's queue only.
class PatternCaptureSession::Painter {
 public:
  Painter(int width, int height, std::shared_ptr<Clock> clock,
          std::shared_ptr<SampleDelivery> delivery)
      : pattern_{width, height},
        pool_{width, height},
        clock_{std::move(clock)},
        delivery_{std::move(delivery)} {}

  void tick() {
    const Clock::Duration captured = clock_->uptime();
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
  const std::shared_ptr<Clock> clock_;
  const std::shared_ptr<SampleDelivery> delivery_;
  std::uint32_t counter_ = 0;
};

PatternCaptureSession::PatternCaptureSession(std::shared_ptr<Queues> queues,
                                             std::shared_ptr<Clock> clock)
    : queues_{std::move(queues)},
      clock_{std::move(clock)},
      queue_{queues_->makeSerialQueue("Test Picture")} {}

PatternCaptureSession::~PatternCaptureSession() { stopRunning(); }

bool PatternCaptureSession::canAddInput(const CaptureInput& input) {
  return input.displayID == kPatternDisplayID;
}

void PatternCaptureSession::addInput(const CaptureInput& input) { input_ = input; }

bool PatternCaptureSession::canAddOutput(const CaptureOutput& output) {
  return output.size.width >= 1 && output.size.height >= 1;
}

void PatternCaptureSession::addOutput(const CaptureOutput& output,
                                      const std::weak_ptr<CaptureOutputDelegate>& delegate,
                                      const std::shared_ptr<SerialQueue>& queue) {
  delivery_ =
      std::make_shared<SampleDelivery>(output.alwaysDiscardsLateVideoFrames, delegate, queue);
  painter_ = std::make_shared<Painter>(static_cast<int>(output.size.width),
                                       static_cast<int>(output.size.height), clock_, delivery_);
}

void PatternCaptureSession::startRunning() {
  const std::lock_guard lock{mutex_};
  if (timer_ || !delivery_) return;
  delivery_->start();
  const Clock::Duration period = input_.minFrameDuration > Clock::Duration::zero()
                                     ? input_.minFrameDuration
                                     : kDefaultFrameDuration;
  timer_ = queues_->makeTimer(queue_, Clock::Duration::zero(), period,
                              [painter = painter_] { painter->tick(); });
  timer_->resume();
}

void PatternCaptureSession::stopRunning() {
  std::shared_ptr<Timer> timer;
  {
    const std::lock_guard lock{mutex_};
    timer = std::exchange(timer_, nullptr);
  }
  if (timer) timer->cancel();
  if (delivery_) delivery_->stop();
}

}  // namespace tessel::platform
