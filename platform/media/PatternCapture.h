#pragma once

#include <memory>
#include <mutex>

#include "platform/Clock.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/media/SampleDelivery.h"

namespace tessel::platform {

/// Display id of the screen that shows the test picture.
inline constexpr std::uint32_t kPatternDisplayID = 1;

/// Captures a screen that shows the moving test picture: a frame every `minFrameDuration`, with a
/// counter that begins at 1. Stands on queues and timers alone, so it works on every platform.
class PatternCaptureSession final : public CaptureSession {
 public:
  PatternCaptureSession(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock);
  ~PatternCaptureSession() override;

  bool canAddInput(const CaptureInput& input) override;
  void addInput(const CaptureInput& input) override;
  bool canAddOutput(const CaptureOutput& output) override;
  void addOutput(const CaptureOutput& output, const std::weak_ptr<CaptureOutputDelegate>& delegate,
                 const std::shared_ptr<SerialQueue>& queue) override;
  void startRunning() override;
  void stopRunning() override;

 private:
  class Painter;

  const std::shared_ptr<Queues> queues_;
  const std::shared_ptr<Clock> clock_;
  const std::shared_ptr<SerialQueue> queue_;  // where frames are painted
  CaptureInput input_;
  std::shared_ptr<SampleDelivery> delivery_;
  std::shared_ptr<Painter> painter_;

  std::mutex mutex_;  // guards timer_
  std::shared_ptr<Timer> timer_;
};

}  // namespace tessel::platform
