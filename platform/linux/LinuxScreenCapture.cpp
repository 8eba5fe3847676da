#include "platform/linux/LinuxScreenCapture.h"

#include "platform/linux/x11/XCaptureSession.h"
#include "platform/media/PatternCapture.h"

namespace tessel::platform {

std::shared_ptr<CaptureSession> LinuxScreenCapture::makeCaptureSession() {
  if (choice_->kind() == ScreenChoice::Kind::pattern) {
    return std::make_shared<PatternCaptureSession>(queues_, clock_);
  }
  // Without an X server there is no screen that could be added as its input.
  return std::make_shared<XCaptureSession>(screens_, clock_);
}

}  // namespace tessel::platform
