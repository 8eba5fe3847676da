#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>
#include <vector>

#include "platform/media/TestPattern.h"

namespace tessel::platform {
namespace {

// A picture with its memory, painted with the test pattern.
class Canvas {
 public:
  Canvas(int width, int height) {
    const int chromaWidth = (width + 1) / 2;
    const auto lumaSize = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto chromaSize =
        static_cast<std::size_t>(chromaWidth) * static_cast<std::size_t>((height + 1) / 2);
    memory_.resize(lumaSize + 2 * chromaSize);
    picture_ = {width,
                height,
                {memory_.data(), memory_.data() + lumaSize, memory_.data() + lumaSize + chromaSize},
                {width, chromaWidth, chromaWidth}};
  }

  void show(std::uint32_t counter) {
    const TestPattern pattern{picture_.width, picture_.height};
    paint(pattern.background(), picture_);
    paint(pattern.foreground(counter), picture_);
  }

  std::optional<std::uint32_t> read() const {
    return readFrameCounter(picture_.planes[0], picture_.strides[0], picture_.width,
                            picture_.height);
  }

  std::uint8_t& luma(int x, int y) { return picture_.planes[0][y * picture_.strides[0] + x]; }
  const PlanarPicture& picture() const { return picture_; }
  const std::vector<std::uint8_t>& memory() const { return memory_; }

 private:
  std::vector<std::uint8_t> memory_;
  PlanarPicture picture_;
};

class TestPatternSizes : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(TestPatternSizes, EveryCounterReadsBack) {
  const auto [width, height] = GetParam();
  Canvas canvas{width, height};
  for (const std::uint32_t counter : {0U, 1U, 2U, 30U, 1234567U, 0x55555555U, 0x80000000U,
                                      std::numeric_limits<std::uint32_t>::max()}) {
    canvas.show(counter);
    EXPECT_EQ(canvas.read(), counter);
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, TestPatternSizes,
                         testing::Values(std::tuple{1920, 1080}, std::tuple{1366, 768},
                                         std::tuple{1280, 1024}, std::tuple{641, 361},
                                         std::tuple{320, 200}));

TEST(TestPatternTest, ReadsAfterScalingToAnotherShape) {
  Canvas large{1920, 1200};
  large.show(987654321);
  Canvas small{640, 360};
  for (int y = 0; y < 360; ++y) {
    for (int x = 0; x < 640; ++x) small.luma(x, y) = large.luma(x * 3, y * 1200 / 360);
  }
  EXPECT_EQ(small.read(), 987654321U);
}

TEST(TestPatternTest, ReadsWithFadedLevels) {
  Canvas canvas{1280, 720};
  canvas.show(4711);
  for (int y = 0; y < 720; ++y) {
    for (int x = 0; x < 1280; ++x) {
      canvas.luma(x, y) = static_cast<std::uint8_t>(60 + canvas.luma(x, y) / 2);
    }
  }
  EXPECT_EQ(canvas.read(), 4711U);
}

TEST(TestPatternTest, HalfOldHalfNewDoesNotRead) {
  Canvas torn{1280, 720};
  Canvas next{1280, 720};
  torn.show(0x0F0F0F0F);
  next.show(0x1F0F0F0F);
  // The strip's second row of cells is still the old picture's.
  for (int y = 0; y < 720 * 3 / 48; ++y) {
    for (int x = 0; x < 1280; ++x) torn.luma(x, y) = next.luma(x, y);
  }
  EXPECT_EQ(torn.read(), std::nullopt);
}

TEST(TestPatternTest, CellBetweenTheLevelsDoesNotRead) {
  Canvas canvas{1280, 720};
  canvas.show(7);
  for (int y = 0; y < 60; ++y) {
    for (int x = 400; x < 440; ++x) canvas.luma(x, y) = 128;
  }
  EXPECT_EQ(canvas.read(), std::nullopt);
}

TEST(TestPatternTest, PictureWithoutStripDoesNotRead) {
  Canvas canvas{1280, 720};
  EXPECT_EQ(canvas.read(), std::nullopt);
  paint(TestPattern{1280, 720}.background(), canvas.picture());
  EXPECT_EQ(canvas.read(), std::nullopt);
}

TEST(TestPatternTest, TinyPictureDoesNotRead) {
  Canvas canvas{16, 8};
  canvas.show(1);
  EXPECT_EQ(canvas.read(), std::nullopt);
}

TEST(TestPatternTest, StripAloneReads) {
  Canvas canvas{1920, 1080};
  const TestPattern pattern{1920, 1080};
  for (const FilledRectangle& rectangle : pattern.strip(99)) {
    EXPECT_LE(rectangle.y + rectangle.height, pattern.stripHeight());
  }
  paint(pattern.strip(99), canvas.picture());
  EXPECT_EQ(canvas.read(), 99U);
}

TEST(TestPatternTest, ForegroundCoversWhatAnEarlierCounterPainted) {
  Canvas fresh{1280, 720};
  fresh.show(1111111111);
  Canvas reused{1280, 720};
  reused.show(4294967295);
  paint(TestPattern{1280, 720}.foreground(1111111111), reused.picture());
  EXPECT_EQ(reused.memory(), fresh.memory());
}

TEST(TestPatternTest, PaintsColoursInLimitedRange) {
  Canvas canvas{4, 2};
  paint({{0, 0, 2, 2, 0xFFFFFF}, {2, 0, 2, 2, 0xFF0000}}, canvas.picture());
  // Luma of white and red, then U and V of both.
  EXPECT_EQ(canvas.memory(),
            (std::vector<std::uint8_t>{235, 235, 82, 82, 235, 235, 82, 82, 128, 90, 128, 240}));
}

TEST(TestPatternTest, PaintCutsOffWhatLiesOutside) {
  Canvas canvas{4, 2};
  paint({{-5, -5, 100, 100, 0xFFFFFF}, {10, 10, 3, 3, 0}, {-9, 0, 3, 3, 0}}, canvas.picture());
  EXPECT_EQ(std::ranges::count(canvas.memory(), 235), 8);
}

}  // namespace
}  // namespace tessel::platform
