#pragma once

#include <cstdint>
#include <vector>

#include "platform/media/PixelArea.h"
#include "platform/media/PlanarPicture.h"

namespace tessel::platform {

/// The filter of one axis: which input samples make an output sample, and with what weights.
/// Averages the area that an output sample covers where the axis shrinks, so that a thin line keeps
/// the same share of its ink at every position; interpolates linearly where the axis grows.
/// Immutable.
class ScaleFilter {
 public:
  /// The weights of one output sample, in 1/256, sum up to this.
  static constexpr int kOne = 256;

  /// Taps come in groups of this many, for the sake of SIMD; weights of 0 fill the last group.
  static constexpr int kGroup = 4;

  ScaleFilter(int from, int to);

  /// The taps of each output sample.
  int groups() const { return groups_; }
  int taps() const { return groups_ * kGroup; }

  /// The first input sample of an output sample; `first(index) + taps()` may exceed the input.
  int first(int index) const { return first_[static_cast<std::size_t>(index)]; }
  const int* first() const { return first_.data(); }

  /// `taps()` weights.
  const std::uint16_t* weights(int index) const {
    return weights_.data() + static_cast<std::ptrdiff_t>(index) * taps();
  }

  /// The output samples, from `begin` to before `end`, that depend on such a range of the input.
  struct Range {
    int begin = 0;
    int end = 0;
  };
  Range affected(Range input) const;

 private:
  void addAreaTaps(int index, int from, int to);
  void addLinearTaps(int index, int from, int to);

  const int groups_;
  std::vector<int> first_;
  std::vector<std::uint16_t> weights_;
};

/// Scales pictures of one size to another, as a whole or in part. One thread.
class PictureScaler {
 public:
  PictureScaler(int fromWidth, int fromHeight, int toWidth, int toHeight);

  int fromWidth() const { return fromWidth_; }
  int fromHeight() const { return fromHeight_; }

  /// All of the output that depends on `area` of the input, grown to even coordinates.
  PixelArea affected(const PixelArea& area) const;

  /// Computes `area` of the output, whose coordinates are even unless they are the output's edge.
  /// Each pixel is the same as if the whole output was computed.
  void scale(const PlanarPicture& from, const PlanarPicture& to, const PixelArea& area);

 private:
  struct Plane {
    int width;   // of the input
    int height;  // of the input
    ScaleFilter columns;
    ScaleFilter rows;
    std::vector<std::uint64_t> columnWeights;  // a word for a group of taps
  };

  static Plane makePlane(int fromWidth, int fromHeight, int toWidth, int toHeight);
  void scalePlane(const Plane& plane, const std::uint8_t* from, int fromStride, std::uint8_t* to,
                  int toStride, const PixelArea& area);
  void blendRows(const Plane& plane, const std::uint8_t* from, int stride, int row, int begin,
                 int end);

  const int fromWidth_;
  const int fromHeight_;
  const int toWidth_;
  const int toHeight_;
  const Plane luma_;
  const Plane chroma_;
  std::vector<std::uint16_t> blended_;  // a row of the input's width, scaled vertically
};

}  // namespace tessel::platform
