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

/// The moving test picture: colour bars, a travelling block, and a counter that is drawn twice, in
/// digits for people and as a strip of black and white cells for programs. It is a list of
/// rectangles, painted in order, so that any client that can fill a rectangle can show it. All
/// places are proportional to the size, so a scaled picture can still be read.
///
/// The strip lies along the upper edge and may be drawn by itself on any screen. Its cells hold a
/// 32-bit number: a frame number, or a clock's milliseconds to measure delay with.
///
/// Immutable; any thread.
class TestPattern {
 public:
  /// For a picture of `width` by `height` pixels.
  TestPattern(int width, int height) : width_{width}, height_{height} {}

  /// The constant part. Covers the whole picture.
  std::vector<FilledRectangle> background() const;

  /// The part that depends on the counter, painted over the background; covers everything that an
  /// earlier counter painted. Contains the strip.
  std::vector<FilledRectangle> foreground(std::uint32_t counter) const;

  /// The strip alone: the rectangles lie within the upper `stripHeight` rows.
  std::vector<FilledRectangle> strip(std::uint32_t counter) const;
  int stripHeight() const;

 private:
  int width_;
  int height_;
};

/// Paints rectangles in order, as BT.601 with limited range, clipped to the picture.
void paint(const std::vector<FilledRectangle>& rectangles, const PlanarPicture& picture);

/// Reads the strip from the luma plane of a whole picture; none when there is no strip or its check
/// fails. `stride` is the number of bytes from row to row.
std::optional<std::uint32_t> readFrameCounter(const std::uint8_t* luma, int stride, int width,
                                              int height);

}  // namespace tessel::platform
