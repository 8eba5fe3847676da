#pragma once

#include <memory>
#include <string>
#include <thread>

#include "platform/Clock.h"
#include "platform/ScreenCapture.h"
#include "platform/base/Mutex.h"
#include "platform/media/SampleDelivery.h"

namespace tessel::platform {

/// Captures one monitor of an X server, on a thread and a connection of its own. A server that is
/// lost is tried once more a second later; then the frames end. One that does not answer is tried
/// until it does. Any thread.
class XCaptureSession final : public CaptureSession {
 public:
  XCaptureSession(std::string display, const CaptureInput& input, const CaptureOutput& output,
                  const std::weak_ptr<CaptureOutputDelegate>& delegate,
                  const std::shared_ptr<SerialQueue>& queue, std::shared_ptr<Clock> clock);
  ~XCaptureSession() override;

  void startRunning() override;
  void stopRunning() override;

 private:
  class Loop;

  const std::string display_;
  const CaptureInput input_;
  const CaptureOutput output_;
  const std::shared_ptr<SampleDelivery> delivery_;
  const std::shared_ptr<Clock> clock_;

  Mutex mutex_;
  std::unique_ptr<Loop> loop_ TESSEL_GUARDED_BY(mutex_);
  std::thread thread_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::platform
