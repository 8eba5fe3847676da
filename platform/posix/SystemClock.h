#pragma once

#include <memory>

#include "platform/Clock.h"

namespace tessel::platform {

std::shared_ptr<Clock> makeClock();

}  // namespace tessel::platform
