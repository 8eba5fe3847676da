#pragma once

#include "tessel/Error.h"

namespace tessel::platform {

/// The error for an errno value, as connections report it.
Error networkError(int errorNumber);

}  // namespace tessel::platform
