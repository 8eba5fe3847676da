#pragma once

#include <algorithm>
#include <cstdint>

namespace tessel::hub {

/// The place of a picture in a window: centred, as large as fits with its aspect ratio kept.
struct Letterbox {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  static constexpr Letterbox fit(int pictureWidth, int pictureHeight, int windowWidth,
                                 int windowHeight) {
    if (pictureWidth <= 0 || pictureHeight <= 0) return {0, 0, windowWidth, windowHeight};
    Letterbox box{0, 0, windowWidth, scaled(windowWidth, pictureHeight, pictureWidth)};
    if (box.height > windowHeight) {
      box.height = windowHeight;
      box.width = scaled(windowHeight, pictureWidth, pictureHeight);
    }
    box.x = (windowWidth - box.width) / 2;
    box.y = (windowHeight - box.height) / 2;
    return box;
  }

  /// The position in a session `size` pixels wide (high) that is shown `offset` pixels into a box
  /// `boxSize` pixels wide (high). An offset outside the box counts as its nearest edge.
  static constexpr int toSession(int offset, int boxSize, int size) {
    if (boxSize <= 0) return 0;
    return std::clamp(scaled(offset, size, boxSize), 0, size);
  }

  static constexpr int scaled(int value, int numerator, int denominator) {
    return static_cast<int>(std::int64_t{value} * numerator / denominator);
  }
};

}  // namespace tessel::hub
