#include "display/PictureSize.h"

#include <limits>

namespace tessel {
namespace {

std::int32_t wholePixels(double points) {
  constexpr std::int32_t kMaxPixels = std::numeric_limits<std::int32_t>::max();
  if (!(points >= 1)) return 0;  // also not a number
  return points >= kMaxPixels ? kMaxPixels : static_cast<std::int32_t>(points);
}

}  // namespace

PictureSize PictureSize::from(Size size) {
  return {wholePixels(size.width), wholePixels(size.height)};
}

}  // namespace tessel
