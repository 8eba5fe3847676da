#pragma once

#include <cstdint>

#include "tessel/Types.h"

namespace tessel {

/// One screen of this computer.
class Screen {
 public:
  Screen(std::uint32_t number, Rect frame) : number_{number}, frame_{frame} {}

  /// The display id under which the screen is captured.
  std::uint32_t tsl_screenNumber() const { return number_; }

  /// Place and size in points, bottom-left origin.
  Rect frame() const { return frame_; }

 private:
  std::uint32_t number_;
  Rect frame_;
};

}  // namespace tessel
