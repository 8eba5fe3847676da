#pragma once

#include <string>

namespace tessel {

/// Why a part of this machine cannot be used: two texts for the user, each of whole sentences.
struct Obstacle {
  std::string sentence;  ///< the cause
  std::string advice;    ///< what the user may do; empty when nothing helps
  bool operator==(const Obstacle&) const = default;
};

}  // namespace tessel
