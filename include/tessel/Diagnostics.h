#pragma once

#include <vector>

#include "tessel/Export.h"
#include "tessel/Finding.h"

namespace tessel {

/// Looks at what this machine offers to a session: one finding for each area, in the order of
/// `Finding::area`. Opens and closes what it looks at, and makes the configuration folder and file
/// where they are missing, as the first session would. Blocks for up to a few seconds (Bluetooth is
/// given two to answer). Any thread but that of the main queue.
TESSEL_EXPORT std::vector<Finding> diagnose();

}  // namespace tessel
