#pragma once

#include <vector>

#include "tessel/Export.h"
#include "tessel/Finding.h"

namespace tessel {

/// Looks at what this machine offers to a session. Opens and closes what it looks at; takes up to
/// a few seconds (Bluetooth is given two to answer). Any thread but that of the main queue.
TESSEL_EXPORT std::vector<Finding> diagnose();

}  // namespace tessel
