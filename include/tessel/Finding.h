#pragma once

#include <string>

namespace tessel {

/// The state of one part of this machine.
struct Finding {
  std::string area;      ///< "screen", "encoder", "input", "bluetooth", "configuration"
  bool usable = false;   ///< whether the library can use it as it is
  std::string sentence;  ///< what was found, for the user
  std::string advice;    ///< what the user may do; empty when nothing needs doing
};

}  // namespace tessel
