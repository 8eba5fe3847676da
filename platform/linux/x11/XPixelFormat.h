#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/linux/x11/XConnection.h"
#include "platform/media/PlanarPicture.h"

namespace tessel::platform {

/// How an X server keeps the pixels of its root window, and their conversion. Immutable.
class XPixelFormat {
 public:
  /// None for a format that cannot be converted.
  static std::optional<XPixelFormat> of(const XConnection& connection);

  /// Bytes from row to row of an image of that width.
  std::size_t stride(int width) const;

  /// Converts an image to BT.601 with limited range, into the area of `picture` whose upper left
  /// corner is (x, y), both even.
  void convert(const std::uint8_t* pixels, int width, int height, const PlanarPicture& picture,
               int x, int y) const;

 private:
  enum class Order { bgrx, rgbx, xrgb, rgb565, rgb555, rgb30 };

  Order order_ = Order::bgrx;
  int bitsPerPixel_ = 32;
  int scanlinePad_ = 32;  // bits
};

}  // namespace tessel::platform
