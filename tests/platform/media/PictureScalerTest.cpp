#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "platform/media/PictureScaler.h"
#include "platform/media/PixelBufferPool.h"

namespace tessel::platform {
namespace {

struct Sizes {
  int fromWidth, fromHeight, toWidth, toHeight;
};

// Shrinking by ratios below and above 2, growing, both at once, odd sizes, one axis only, the same.
constexpr std::array<Sizes, 11> kSizes{{{344, 144, 192, 108},
                                        {300, 200, 192, 120},
                                        {256, 160, 192, 120},
                                        {384, 216, 192, 108},
                                        {640, 480, 160, 100},
                                        {128, 72, 192, 108},
                                        {160, 120, 192, 90},
                                        {321, 241, 193, 109},
                                        {101, 77, 151, 201},
                                        {256, 108, 192, 108},
                                        {192, 108, 192, 108}}};

std::size_t rowsOf(const PlanarPicture& picture, std::size_t plane) {
  return static_cast<std::size_t>(plane == 0 ? picture.height : (picture.height + 1) / 2);
}

std::size_t columnsOf(const PlanarPicture& picture, std::size_t plane) {
  return static_cast<std::size_t>(plane == 0 ? picture.width : (picture.width + 1) / 2);
}

std::uint8_t* rowOf(const PlanarPicture& picture, std::size_t plane, std::size_t y) {
  return picture.planes[plane] +
         static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(picture.strides[plane]);
}

void fill(const PlanarPicture& picture, std::uint8_t level) {
  for (std::size_t plane = 0; plane < 3; ++plane) {
    for (std::size_t y = 0; y < rowsOf(picture, plane); ++y) {
      std::fill_n(rowOf(picture, plane, y), columnsOf(picture, plane), level);
    }
  }
}

// Writes noise into an area with even corners, or the picture's edges.
void scribble(const PlanarPicture& picture, const PixelArea& area, std::mt19937& random) {
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int shrink = plane == 0 ? 1 : 2;
    for (int y = area.y / shrink; y < (area.bottom() + shrink - 1) / shrink; ++y) {
      for (int x = area.x / shrink; x < (area.right() + shrink - 1) / shrink; ++x) {
        rowOf(picture, plane, static_cast<std::size_t>(y))[x] = static_cast<std::uint8_t>(random());
      }
    }
  }
}

std::vector<std::uint8_t> bytesOf(const PlanarPicture& picture) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t plane = 0; plane < 3; ++plane) {
    for (std::size_t y = 0; y < rowsOf(picture, plane); ++y) {
      const std::uint8_t* row = rowOf(picture, plane, y);
      bytes.insert(bytes.end(), row, row + columnsOf(picture, plane));
    }
  }
  return bytes;
}

class PictureScalerTest : public testing::TestWithParam<Sizes> {
 protected:
  PixelArea all() const { return {0, 0, GetParam().toWidth, GetParam().toHeight}; }

  PictureScaler scaler{GetParam().fromWidth, GetParam().fromHeight, GetParam().toWidth,
                       GetParam().toHeight};
  const PooledPicture source = PixelBufferPool{GetParam().fromWidth, GetParam().fromHeight}.take();
  const PooledPicture output = PixelBufferPool{GetParam().toWidth, GetParam().toHeight}.take();
  const PlanarPicture& from = source.picture;
  const PlanarPicture& to = output.picture;
};

INSTANTIATE_TEST_SUITE_P(Sizes, PictureScalerTest, testing::ValuesIn(kSizes));

TEST_P(PictureScalerTest, FlatPictureStaysAsItIs) {
  for (const int level : {0, 1, 16, 127, 128, 235, 254, 255}) {
    fill(from, static_cast<std::uint8_t>(level));
    fill(to, 99);
    scaler.scale(from, to, all());
    EXPECT_EQ(std::ranges::count(bytesOf(to), level),
              static_cast<std::ptrdiff_t>(bytesOf(to).size()));
  }
}

TEST_P(PictureScalerTest, ThinLineKeepsItsInkWhereverItLies) {
  constexpr int kBlack = 16;
  constexpr int kWhite = 235;
  // The sum over a row or column of the output, of one line's contrast; 1 is the expected share.
  const auto inkOf = [&](bool vertical, int at) {
    fill(from, kBlack);
    const int length = vertical ? from.height : from.width;
    for (int along = 0; along < length; ++along) {
      const int y = vertical ? along : at;
      rowOf(from, 0, static_cast<std::size_t>(y))[vertical ? at : along] = kWhite;
    }
    scaler.scale(from, to, all());
    double sum = 0;
    const int across = vertical ? to.width : to.height;
    for (int position = 0; position < across; ++position) {
      const int y = vertical ? to.height / 2 : position;
      const int x = vertical ? position : to.width / 2;
      sum += rowOf(to, 0, static_cast<std::size_t>(y))[x] - kBlack;
    }
    const double ratio = vertical ? static_cast<double>(from.width) / to.width
                                  : static_cast<double>(from.height) / to.height;
    return sum / (kWhite - kBlack) * ratio;
  };
  // On an axis that grows it is for the interpolation to say.
  for (int x = 0; x < 60 && from.width >= to.width; ++x) {
    EXPECT_NEAR(inkOf(true, x), 1, 0.05) << "column " << x;
  }
  for (int y = 0; y < 60 && from.height >= to.height; ++y) {
    EXPECT_NEAR(inkOf(false, y), 1, 0.05) << "row " << y;
  }
}

TEST_P(PictureScalerTest, UpdateInPartsEqualsTheWhole) {
  std::mt19937 random{7};
  scribble(from, {0, 0, from.width, from.height}, random);
  scaler.scale(from, to, all());
  const PooledPicture whole = PixelBufferPool{to.width, to.height}.take();
  for (int round = 0; round < 30; ++round) {
    const int x = static_cast<int>(random() % static_cast<unsigned>(from.width));
    const int y = static_cast<int>(random() % static_cast<unsigned>(from.height));
    const PixelArea changed = evenAligned(
        {x, y, 1 + static_cast<int>(random() % 40), 1 + static_cast<int>(random() % 20)},
        from.width, from.height);
    scribble(from, changed, random);
    scaler.scale(from, to, scaler.affected(changed));
    scaler.scale(from, whole.picture, all());
    ASSERT_EQ(bytesOf(to), bytesOf(whole.picture)) << "round " << round;
  }
}

TEST_P(PictureScalerTest, PartWritesNothingOutsideItself) {
  std::mt19937 random{7};
  scribble(from, {0, 0, from.width, from.height}, random);
  fill(to, 99);
  const PixelArea part{40, 20, 30, 16};
  scaler.scale(from, to, part);
  for (int y = 0; y < to.height; ++y) {
    for (int x = 0; x < to.width; ++x) {
      const bool inside = x >= part.x && x < part.right() && y >= part.y && y < part.bottom();
      if (inside) continue;
      ASSERT_EQ(rowOf(to, 0, static_cast<std::size_t>(y))[x], 99) << x << ", " << y;
    }
  }
}

TEST_P(PictureScalerTest, SmallChangeAffectsASmallPart) {
  const PixelArea affected = scaler.affected({20, 10, 2, 2});
  EXPECT_FALSE(affected.empty());
  EXPECT_LE(affected.width, 12 * std::max(1, to.width / from.width));
  EXPECT_LE(affected.height, 12 * std::max(1, to.height / from.height));
}

TEST(PictureScalerEdgesTest, EdgeStaysAtItsPlace) {
  constexpr Sizes kHalf{344, 144, 192, 108};
  PictureScaler scaler{kHalf.fromWidth, kHalf.fromHeight, kHalf.toWidth, kHalf.toHeight};
  const PooledPicture from = PixelBufferPool{kHalf.fromWidth, kHalf.fromHeight}.take();
  const PooledPicture to = PixelBufferPool{kHalf.toWidth, kHalf.toHeight}.take();
  fill(from.picture, 16);
  for (std::size_t y = 0; y < 144; ++y) std::fill_n(rowOf(from.picture, 0, y) + 172, 172, 235);
  scaler.scale(from.picture, to.picture, {0, 0, kHalf.toWidth, kHalf.toHeight});
  EXPECT_EQ(rowOf(to.picture, 0, 50)[95], 16);
  EXPECT_EQ(rowOf(to.picture, 0, 50)[96], 235);
}

TEST(PictureScalerEdgesTest, SameSizeCopies) {
  PictureScaler scaler{192, 108, 192, 108};
  const PooledPicture from = PixelBufferPool{192, 108}.take();
  const PooledPicture to = PixelBufferPool{192, 108}.take();
  std::mt19937 random{7};
  scribble(from.picture, {0, 0, 192, 108}, random);
  scaler.scale(from.picture, to.picture, {0, 0, 192, 108});
  EXPECT_EQ(bytesOf(to.picture), bytesOf(from.picture));
}

}  // namespace
}  // namespace tessel::platform
