#pragma once

#include <string>

namespace tessel {

/// Why something of this machine cannot be used, for a person.
struct Obstacle {
  std::string sentence;  ///< what is in the way
  std::string advice;    ///< what to do about it; empty when nothing helps
  bool operator==(const Obstacle&) const = default;
};

}  // namespace tessel
