#pragma once

#include <string>

namespace tessel {

/// One thing that was looked at on this machine.
struct Finding {
  std::string area;      ///< "screen", "encoder", "input", "bluetooth", "configuration"
  bool usable = false;   ///< whether the library can use it as it is
  std::string sentence;  ///< what was found, for a person
  std::string advice;    ///< what to do about it; empty when nothing needs doing
};

}  // namespace tessel
