#include "platform/media/SampleDelivery.h"

#include <cassert>
#include <utility>

namespace tessel::platform {

SampleDelivery::SampleDelivery(std::weak_ptr<CaptureOutputDelegate> delegate,
                               std::shared_ptr<SerialQueue> queue)
    : delegate_{std::move(delegate)}, queue_{std::move(queue)} {}

void SampleDelivery::start() {
  const MutexLock lock{mutex_};
  if (running_) return;
  running_ = true;
  frames_ = 0;
  ++run_;
}

void SampleDelivery::stop() {
  MutexLock lock{mutex_};
  running_ = false;
  if (queue_->isCurrent()) return;
  while (calling_) ended_.wait(lock.native());
}

bool SampleDelivery::busy() const {
  const MutexLock lock{mutex_};
  return frames_ > 0;
}

void SampleDelivery::deliver(SampleBuffer sampleBuffer) {
  if (busy()) {
    drop(std::move(sampleBuffer));
  } else {
    post(&CaptureOutputDelegate::didOutputSampleBuffer, std::move(sampleBuffer), true);
  }
}

void SampleDelivery::drop(SampleBuffer sampleBuffer) {
  post(&CaptureOutputDelegate::didDropSampleBuffer, std::move(sampleBuffer), false);
}

void SampleDelivery::post(Call call, SampleBuffer sampleBuffer, bool counted) {
  std::uint64_t current = 0;
  {
    const MutexLock lock{mutex_};
    if (!running_) return;
    if (counted) ++frames_;
    current = run_;
  }
  queue_->async([self = shared_from_this(), call, sampleBuffer = std::move(sampleBuffer), counted,
                 current] { self->run(call, sampleBuffer, counted, current); });
}

void SampleDelivery::run(Call call, const SampleBuffer& sampleBuffer, bool counted,
                         std::uint64_t run) {
  assert(queue_->isCurrent());
  {
    const MutexLock lock{mutex_};
    if (!running_ || run != run_) return;
    calling_ = true;
  }
  if (const auto delegate = delegate_.lock()) ((*delegate).*call)(sampleBuffer);
  const MutexLock lock{mutex_};
  calling_ = false;
  if (counted && run == run_) --frames_;
  ended_.notify_all();
}

}  // namespace tessel::platform
