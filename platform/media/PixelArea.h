#pragma once

#include <algorithm>
#include <cstdint>

namespace tessel::platform {

/// A rectangle of whole pixels, top-left origin.
struct PixelArea {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool empty() const { return width <= 0 || height <= 0; }
  int right() const { return x + width; }
  int bottom() const { return y + height; }
  std::int64_t pixels() const { return static_cast<std::int64_t>(width) * height; }
  bool operator==(const PixelArea&) const = default;
};

/// What both rectangles cover; empty when they do not overlap.
inline PixelArea intersection(const PixelArea& a, const PixelArea& b) {
  const int x = std::max(a.x, b.x);
  const int y = std::max(a.y, b.y);
  return {x, y, std::max(0, std::min(a.right(), b.right()) - x),
          std::max(0, std::min(a.bottom(), b.bottom()) - y)};
}

/// The smallest rectangle that covers both.
inline PixelArea boundingBox(const PixelArea& a, const PixelArea& b) {
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

/// `area` grown to even coordinates, limited to a picture of that size: in 4:2:0 a chroma sample
/// covers two by two pixels.
inline PixelArea evenAligned(const PixelArea& area, int width, int height) {
  const int x = area.x / 2 * 2;
  const int y = area.y / 2 * 2;
  return {x, y, std::min(width, (area.right() + 1) / 2 * 2) - x,
          std::min(height, (area.bottom() + 1) / 2 * 2) - y};
}

}  // namespace tessel::platform
