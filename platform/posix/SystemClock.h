#pragma once

#include <memory>

#include "platform/Clock.h"

namespace tessel::platform {

/// The clocks of the system.
std::shared_ptr<Clock> makeClock();

}  // namespace tessel::platform
