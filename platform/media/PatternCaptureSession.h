#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/base/Mutex.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/media/SampleDelivery.h"

namespace tessel::platform {

/// Captures a screen that shows the moving test picture: a frame every `minFrameDuration`, with a
/// counter that begins at 1. Uses queues and timers only, so it works on every platform. Any
/// thread.
class PatternCaptureSession final : public CaptureSession {
 public:
  PatternCaptureSession(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock,
                        const CaptureInput& input, const CaptureOutput& output,
                        const std::weak_ptr<CaptureOutputDelegate>& delegate,
                        const std::shared_ptr<SerialQueue>& queue);
  ~PatternCaptureSession() override;

  void startRunning() override;
  void stopRunning() override;

 private:
  class Painter;

  const std::shared_ptr<Queues> queues_;
  const std::shared_ptr<SerialQueue> queue_;  // of the painter
  const Clock::Duration period_;
  const std::shared_ptr<SampleDelivery> delivery_;
  const std::shared_ptr<Painter> painter_;

  Mutex mutex_;
  std::shared_ptr<Timer> timer_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::platform
