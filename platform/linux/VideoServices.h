#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/Screens.h"
#include "platform/VideoEncoder.h"
#include "platform/linux/ScreenChoice.h"

namespace tessel::platform {

/// The services that a frame passes through, and the choice of the screen, which they share.
struct VideoServices {
  std::shared_ptr<const ScreenChoice> choice;
  std::shared_ptr<Screens> screens;
  std::shared_ptr<ScreenCapture> screenCapture;
  std::shared_ptr<VideoEncoding> videoEncoding;
};

/// Opens nothing yet.
VideoServices makeVideoServices(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock);

}  // namespace tessel::platform
