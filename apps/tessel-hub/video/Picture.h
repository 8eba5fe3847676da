#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

namespace tessel::hub {

/// A decoded picture: 4:2:0 planes of 8 bits. `memory` owns the planes; copies of a picture
/// share it.
struct Picture {
  int width = 0;
  int height = 0;
  const std::uint8_t* y = nullptr;
  const std::uint8_t* u = nullptr;
  const std::uint8_t* v = nullptr;
  int yStride = 0;
  int uStride = 0;
  int vStride = 0;
  /// Whether the planes use all of 0 to 255.
  bool fullRange = false;
  /// Whether the colours are those of BT.709 rather than of BT.601.
  bool bt709 = false;
  std::shared_ptr<const void> memory;
};

}  // namespace tessel::hub
