#pragma once

#include <memory>

#include "platform/EventPoster.h"
#include "platform/linux/ScreenChoice.h"

/// Makers of the services that post input.
namespace tessel::platform {

/// Posts to the X server of the environment's DISPLAY, through XTEST. While `choice` is anything
/// but that server's screen, posters make no events: whoever holds the hub's mouse and keyboard
/// drives what they see, and nothing else.
std::shared_ptr<EventPosting> makeEventPosting(std::shared_ptr<const ScreenChoice> choice);

}  // namespace tessel::platform
