#pragma once

#include <array>
#include <cstdint>

namespace tessel::platform {

/// Writable planes in 4:2:0: luma, then two of chroma at half width and height, rounded up. Does
/// not own its memory.
struct PlanarPicture {
  int width = 0;
  int height = 0;
  std::array<std::uint8_t*, 3> planes{};  ///< Y, U, V
  std::array<int, 3> strides{};           ///< bytes from row to row
};

}  // namespace tessel::platform
