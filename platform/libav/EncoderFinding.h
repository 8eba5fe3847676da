#pragma once

#include "tessel/Finding.h"

namespace tessel::platform {

/// Whether and with what this machine encodes: opens the encoder that a cast would get.
Finding findEncoder();

}  // namespace tessel::platform
