#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/media/PlanarPicture.h"

namespace tessel::platform {

/// A rectangle of one colour, in pixels from the top left.
struct FilledRectangle {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  std::uint32_t rgb = 0;  ///< 0xRRGGBB
};

/// The moving test picture: colour bars, a block that travels, and a number ("counter") that is
/// drawn twice, in digits for a person and as a strip of black and white cells for a program. It
/// is given as rectangles, painted in order, so that anything that can fill a rectangle can show
/// it. The picture depends on the size only through proportions: scaled, it still reads.
///
/// The strip lies along the upper edge and may be drawn by itself on any screen. Its cells hold a
/// 32-bit number, so a program that measures delay may draw a clock's milliseconds instead of a
/// frame number.
///
/// Immutable; any thread.
class TestPattern {
 public:
  /// For a picture of `width` by `height` pixels.
  TestPattern(int width, int height) : width_{width}, height_{height} {}

  /// What never changes. Covers the whole picture.
  std::vector<FilledRectangle> background() const;

  /// What changes with the counter, painted over the background; it covers all that an earlier
  /// counter painted. Contains the strip.
  std::vector<FilledRectangle> foreground(std::uint32_t counter) const;

  /// The strip alone: the rectangles lie within the upper `stripHeight` rows.
  std::vector<FilledRectangle> strip(std::uint32_t counter) const;
  int stripHeight() const;

 private:
  int width_;
  int height_;
};

/// Paints rectangles in order, as BT.601 with limited range. What lies outside is cut off.
void paint(const std::vector<FilledRectangle>& rectangles, const PlanarPicture& picture);

/// Reads the strip from the luma plane of a whole picture; none when there is no strip or when it
/// cannot be read for sure. `stride` is the number of bytes from row to row.
std::optional<std::uint32_t> readFrameCounter(const std::uint8_t* luma, int stride, int width,
                                              int height);

}  // namespace tessel::platform
