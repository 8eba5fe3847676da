#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/linux/x11/XConnection.h"
#include "platform/media/PlanarPicture.h"

namespace tessel::platform {

/// The pixel format of an X server's root window, and its conversion. Immutable.
class XPixelFormat {
 public:
  /// The format of the first screen; none when it cannot be converted.
  static std::optional<XPixelFormat> of(const XConnection& connection);

  /// Bytes from row to row of an image of that width.
  std::size_t stride(int width) const;

  /// Converts an image to BT.601 with limited range, into the area of `picture` whose upper left
  /// corner is (x, y), both even.
  void convert(const std::uint8_t* pixels, int width, int height, const PlanarPicture& picture,
               int x, int y) const;

 private:
  /// By the order of the bytes in memory, or of the bits from the highest.
  enum class Layout { kBgrx, kRgbx, kXrgb, kRgb565, kRgb555, kRgb30 };

  Layout layout_ = Layout::kBgrx;
  int bitsPerPixel_ = 32;
  int scanlinePad_ = 32;  // bits
};

}  // namespace tessel::platform
