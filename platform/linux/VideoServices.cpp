#include "platform/linux/VideoServices.h"

#include <utility>

#include "platform/libav/LibavVideoEncoding.h"
#include "platform/linux/LinuxScreenCapture.h"
#include "platform/linux/ScreenChoice.h"
#include "platform/linux/x11/X11Screens.h"

namespace tessel::platform {

VideoServices makeVideoServices(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock) {
  const auto choice = std::make_shared<ScreenChoice>();
  VideoServices services;
  services.choice = choice;
  services.screens = std::make_shared<X11Screens>(choice);
  services.screenCapture =
      std::make_shared<LinuxScreenCapture>(choice, services.screens, std::move(queues), clock);
  services.videoEncoding = std::make_shared<LibavVideoEncoding>(std::move(clock));
  return services;
}

}  // namespace tessel::platform
