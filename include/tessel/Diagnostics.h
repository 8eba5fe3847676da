#pragma once

#include <string>
#include <vector>

#include "tessel/Export.h"

namespace tessel {

/// One thing that was looked at on this machine.
struct Finding {
  std::string area;      ///< "screen", "encoder", "input", "bluetooth", "configuration"
  bool usable = false;   ///< whether the library can use it as it is
  std::string sentence;  ///< what was found, for a person
  std::string advice;    ///< what to do about it; empty when nothing needs doing
};

/// Looks at what this machine offers to a session. Opens and closes what it looks at; takes up to
/// a few seconds (Bluetooth is given two to answer). Any thread but that of the main queue.
TESSEL_EXPORT std::vector<Finding> diagnose();

}  // namespace tessel
