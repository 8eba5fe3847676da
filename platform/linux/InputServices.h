#pragma once

#include <memory>

#include "platform/EventPoster.h"

/// Makers of the services that post input.
namespace tessel::platform {

/// Posts to the X server of the environment's DISPLAY, through XTEST.
std::shared_ptr<EventPosting> makeEventPosting();

}  // namespace tessel::platform
