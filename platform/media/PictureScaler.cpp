#include "platform/media/PictureScaler.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstring>

namespace tessel::platform {
namespace {

constexpr int kGroup = ScaleFilter::kGroup;
constexpr std::uint16_t kHalf = ScaleFilter::kOne / 2;

int groupsFor(int from, int to) {
  // An area of from/to samples touches at most one more than its length rounded up.
  const int taps = from > to ? (from + to - 1) / to + 1 : 2;
  return (taps + kGroup - 1) / kGroup;
}

// Four weights as 16-bit lanes of a word, so arranged that the product with a word of four samples
// has the sum of the four single products in its highest lane. No lane overflows: samples are below
// 256 and the weights sum up to 256 at most.
std::uint64_t packed(const std::uint16_t* weights) {
  std::uint64_t word = 0;
  for (int tap = 0; tap < kGroup; ++tap) {
    const int lane = std::endian::native == std::endian::little ? kGroup - 1 - tap : tap;
    word |= static_cast<std::uint64_t>(weights[tap]) << (16 * lane);
  }
  return word;
}

std::uint64_t dotProduct(const std::uint16_t* samples, std::uint64_t packedWeights) {
  std::uint64_t word = 0;
  std::memcpy(&word, samples, sizeof(word));
  return word * packedWeights >> 16 * (kGroup - 1);
}

// Adds four rows, weighted, to `sums`.
void addRows(std::uint16_t* sums, const std::array<const std::uint8_t*, kGroup>& rows,
             const std::uint16_t* weights, int count) {
  const std::uint8_t* const a = rows[0];
  const std::uint8_t* const b = rows[1];
  const std::uint8_t* const c = rows[2];
  const std::uint8_t* const d = rows[3];
  const std::uint16_t ofA = weights[0];
  const std::uint16_t ofB = weights[1];
  const std::uint16_t ofC = weights[2];
  const std::uint16_t ofD = weights[3];
  for (int x = 0; x < count; ++x) {
    sums[x] =
        static_cast<std::uint16_t>(sums[x] + a[x] * ofA + b[x] * ofB + c[x] * ofC + d[x] * ofD);
  }
}

}  // namespace

ScaleFilter::ScaleFilter(int from, int to)
    : groups_{groupsFor(from, to)},
      first_(static_cast<std::size_t>(to)),
      weights_(static_cast<std::size_t>(to) * static_cast<std::size_t>(taps())) {
  for (int index = 0; index < to; ++index) {
    from > to ? addAreaTaps(index, from, to) : addLinearTaps(index, from, to);
  }
}

// In units of 1/to of an input sample the output sample covers `from` units, an input sample `to`.
void ScaleFilter::addAreaTaps(int index, int from, int to) {
  const std::int64_t begin = static_cast<std::int64_t>(index) * from;
  const auto first = static_cast<int>(begin / to);
  first_[static_cast<std::size_t>(index)] = first;
  std::uint16_t* weight = weights_.data() + static_cast<std::ptrdiff_t>(index) * taps();
  // Differences of rounded sums, so that the weights sum up to kOne.
  std::int64_t before = 0;
  for (int tap = 0; tap < taps(); ++tap) {
    const std::int64_t covered =
        std::clamp<std::int64_t>(static_cast<std::int64_t>(first + tap + 1) * to - begin, 0, from);
    const std::int64_t sum = (covered * kOne + from / 2) / from;
    weight[tap] = static_cast<std::uint16_t>(sum - before);
    before = sum;
  }
}

// Between the two input samples whose centres enclose that of the output sample.
void ScaleFilter::addLinearTaps(int index, int from, int to) {
  const std::int64_t unit = 2 * static_cast<std::int64_t>(to);
  const std::int64_t last = static_cast<std::int64_t>(from - 1) * unit;
  const std::int64_t centre =
      std::clamp<std::int64_t>(static_cast<std::int64_t>(2 * index + 1) * from - to, 0, last);
  const auto first = static_cast<int>(centre / unit);
  first_[static_cast<std::size_t>(index)] = first;
  std::uint16_t* weight = weights_.data() + static_cast<std::ptrdiff_t>(index) * taps();
  weight[1] = static_cast<std::uint16_t>((centre % unit * kOne + to) / unit);
  weight[0] = static_cast<std::uint16_t>(kOne - weight[1]);
}

ScaleFilter::Range ScaleFilter::affected(Range input) const {
  // Both ends of the outputs' inputs ascend with the output.
  const auto begin = std::partition_point(first_.begin(), first_.end(),
                                          [&](int first) { return first + taps() <= input.begin; });
  const auto end =
      std::partition_point(begin, first_.end(), [&](int first) { return first < input.end; });
  return {static_cast<int>(begin - first_.begin()), static_cast<int>(end - first_.begin())};
}

PictureScaler::PictureScaler(int fromWidth, int fromHeight, int toWidth, int toHeight)
    : fromWidth_{fromWidth},
      fromHeight_{fromHeight},
      toWidth_{toWidth},
      toHeight_{toHeight},
      luma_{makePlane(fromWidth, fromHeight, toWidth, toHeight)},
      chroma_{makePlane((fromWidth + 1) / 2, (fromHeight + 1) / 2, (toWidth + 1) / 2,
                        (toHeight + 1) / 2)},
      // The last output samples read past the row, with weights of 0.
      blended_(static_cast<std::size_t>(fromWidth + luma_.columns.taps())) {}

PictureScaler::Plane PictureScaler::makePlane(int fromWidth, int fromHeight, int toWidth,
                                              int toHeight) {
  Plane plane{fromWidth, fromHeight, {fromWidth, toWidth}, {fromHeight, toHeight}, {}};
  for (int x = 0; x < toWidth; ++x) {
    const std::uint16_t* const weights = plane.columns.weights(x);
    for (int group = 0; group < plane.columns.groups(); ++group) {
      plane.columnWeights.push_back(packed(weights + static_cast<std::ptrdiff_t>(group) * kGroup));
    }
  }
  return plane;
}

PixelArea PictureScaler::affected(const PixelArea& area) const {
  const auto inPlane = [](const Plane& plane, const PixelArea& part) {
    const auto columns = plane.columns.affected({part.x, part.right()});
    const auto rows = plane.rows.affected({part.y, part.bottom()});
    return PixelArea{columns.begin, rows.begin, columns.end - columns.begin, rows.end - rows.begin};
  };
  const PixelArea luma = inPlane(luma_, area);
  const int x = area.x / 2;
  const int y = area.y / 2;
  const PixelArea chroma =
      inPlane(chroma_, {x, y, (area.right() + 1) / 2 - x, (area.bottom() + 1) / 2 - y});
  return evenAligned(
      boundingBox(luma, {2 * chroma.x, 2 * chroma.y, 2 * chroma.width, 2 * chroma.height}),
      toWidth_, toHeight_);
}

void PictureScaler::scale(const PlanarPicture& from, const PlanarPicture& to,
                          const PixelArea& area) {
  assert(from.width == fromWidth_ && from.height == fromHeight_);
  assert(to.width == toWidth_ && to.height == toHeight_);
  assert(area.x % 2 == 0 && area.y % 2 == 0);
  scalePlane(luma_, from.planes[0], from.strides[0], to.planes[0], to.strides[0], area);
  const PixelArea half{area.x / 2, area.y / 2, (area.width + 1) / 2, (area.height + 1) / 2};
  for (const std::size_t plane : {1, 2}) {
    scalePlane(chroma_, from.planes[plane], from.strides[plane], to.planes[plane],
               to.strides[plane], half);
  }
}

void PictureScaler::scalePlane(const Plane& plane, const std::uint8_t* from, int fromStride,
                               std::uint8_t* to, int toStride, const PixelArea& area) {
  if (area.empty()) return;
  const int groups = plane.columns.groups();
  const int begin = plane.columns.first(area.x);
  const int end =
      std::min(plane.width, plane.columns.first(area.right() - 1) + plane.columns.taps());
  // Local copies: the compiler assumes that a write of the output changes any member.
  const int* const first = plane.columns.first();
  const std::uint16_t* const blended = blended_.data();
  for (int y = area.y; y < area.bottom(); ++y) {
    blendRows(plane, from, fromStride, y, begin, end);
    std::uint8_t* const row = to + static_cast<std::ptrdiff_t>(y) * toStride;
    const std::uint64_t* weights =
        plane.columnWeights.data() + static_cast<std::ptrdiff_t>(area.x) * groups;
    for (int x = area.x; x < area.right(); ++x) {
      const std::uint16_t* samples = blended + first[x];
      std::uint64_t sum = kHalf + dotProduct(samples, *weights++);
      for (int group = 1; group < groups; ++group) {
        samples += kGroup;
        sum += dotProduct(samples, *weights++);
      }
      row[x] = static_cast<std::uint8_t>(sum / ScaleFilter::kOne);
    }
  }
}

// Scales the columns from `begin` to before `end` vertically, for one row of the output.
void PictureScaler::blendRows(const Plane& plane, const std::uint8_t* from, int stride, int row,
                              int begin, int end) {
  std::uint16_t* const blended = blended_.data() + begin;
  const int count = end - begin;
  std::fill_n(blended, count, kHalf);
  for (int group = 0; group < plane.rows.groups(); ++group) {
    const int firstTap = group * kGroup;
    std::array<const std::uint8_t*, kGroup> rows{};
    for (int tap = 0; tap < kGroup; ++tap) {
      // A tap past the last row has a weight of 0.
      const int y = std::min(plane.rows.first(row) + firstTap + tap, plane.height - 1);
      rows[static_cast<std::size_t>(tap)] = from + static_cast<std::ptrdiff_t>(y) * stride + begin;
    }
    addRows(blended, rows, plane.rows.weights(row) + firstTap, count);
  }
  for (int x = 0; x < count; ++x) {
    blended[x] = static_cast<std::uint16_t>(blended[x] / ScaleFilter::kOne);
  }
}

}  // namespace tessel::platform
