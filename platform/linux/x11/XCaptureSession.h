#pragma once

#include <memory>
#include <mutex>
#include <thread>

#include "platform/Clock.h"
#include "platform/ScreenCapture.h"
#include "platform/Screens.h"
#include "platform/media/SampleDelivery.h"

namespace tessel::platform {

/// Captures one monitor of the X server, on a thread and a connection of its own. When the server
/// goes away, and is not back a second later, no further frame comes; when it does not answer, none
/// until it does.
class XCaptureSession final : public CaptureSession {
 public:
  XCaptureSession(std::shared_ptr<Screens> screens, std::shared_ptr<Clock> clock);
  ~XCaptureSession() override;

  bool canAddInput(const CaptureInput& input) override;
  void addInput(const CaptureInput& input) override;
  bool canAddOutput(const CaptureOutput& output) override;
  void addOutput(const CaptureOutput& output, const std::weak_ptr<CaptureOutputDelegate>& delegate,
                 const std::shared_ptr<SerialQueue>& queue) override;
  void startRunning() override;
  void stopRunning() override;

 private:
  class Loop;

  const std::shared_ptr<Screens> screens_;
  const std::shared_ptr<Clock> clock_;
  CaptureInput input_;
  CaptureOutput output_;
  std::shared_ptr<SampleDelivery> delivery_;

  std::mutex mutex_;  // guards what follows
  std::unique_ptr<Loop> loop_;
  std::thread thread_;
};

}  // namespace tessel::platform
