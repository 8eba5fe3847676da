#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/Screens.h"
#include "platform/linux/ScreenChoice.h"

namespace tessel::platform {

/// Makes the capture that fits the chosen screen. Any thread.
class LinuxScreenCapture final : public ScreenCapture {
 public:
  LinuxScreenCapture(std::shared_ptr<ScreenChoice> choice, std::shared_ptr<Screens> screens,
                     std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock)
      : choice_{std::move(choice)},
        screens_{std::move(screens)},
        queues_{std::move(queues)},
        clock_{std::move(clock)} {}

  std::shared_ptr<CaptureSession> makeCaptureSession() override;

 private:
  const std::shared_ptr<ScreenChoice> choice_;
  const std::shared_ptr<Screens> screens_;
  const std::shared_ptr<Queues> queues_;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace tessel::platform
