#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

/// Small value types that the public interface speaks in.
namespace tessel {

/// A run of bytes that its holder owns.
using Bytes = std::vector<std::uint8_t>;

/// A moment of wall-clock time.
using Date = std::chrono::system_clock::time_point;

/// A length of time in seconds.
using Seconds = std::chrono::duration<double>;

/// A position in points. Whether y grows upwards or downwards is said where one is used.
struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

/// A width and a height in points.
struct Size {
  double width = 0;
  double height = 0;
  bool operator==(const Size&) const = default;
};

/// A rectangle in points.
struct Rect {
  Point origin;
  Size size;
  bool operator==(const Rect&) const = default;
};

}  // namespace tessel
