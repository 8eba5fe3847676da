#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/Screens.h"
#include "platform/VideoEncoder.h"

namespace tessel::platform {

/// The services that a frame passes through. They share the choice of the screen.
struct VideoServices {
  std::shared_ptr<Screens> screens;
  std::shared_ptr<ScreenCapture> screenCapture;
  std::shared_ptr<VideoEncoding> videoEncoding;
};

/// Opens nothing yet.
VideoServices makeVideoServices(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock);

}  // namespace tessel::platform
