#pragma once

#include <vector>

#include "tessel/Export.h"
#include "tessel/Finding.h"

namespace tessel {

/// Checks what this machine offers to a session: one finding for each area, in the order of
/// `Finding::area`. Opens and closes each device, and makes the configuration folder and file where
/// they are missing, if no session has done so yet. Blocks for up to a few seconds, two of them for
/// Bluetooth. Any thread except the main queue's.
TESSEL_EXPORT std::vector<Finding> diagnose();

}  // namespace tessel
