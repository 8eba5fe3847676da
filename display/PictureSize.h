#pragma once

#include <cstdint>

#include "tessel/Types.h"

namespace tessel {

/// A size in whole pixels: the size in points, truncated. Sides that are negative or not a number
/// are 0.
struct PictureSize {
  std::int32_t width = 0;
  std::int32_t height = 0;

  static PictureSize from(Size size);

  bool empty() const { return width == 0 || height == 0; }
};

}  // namespace tessel
