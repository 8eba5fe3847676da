// How sharp frames are, and what they may cost.
#include <gtest/gtest.h>

#include "tests/platform/libav/EncoderOutput.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr int kWidth = 640;
constexpr int kHeight = 360;
constexpr auto kFrameTime = 33333us;

/// A page of its own for every number: none helps to tell the next one.
PooledPicture page(int number) { return textPicture(kWidth, kHeight, number * 1600); }

/// Encodes and decodes frames, as time passes by hand.
class EncoderRateTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(session, nullptr); }

  Encoded encode(const PooledPicture& picture) {
    EXPECT_EQ(session->encodeFrame(picture.buffer, {++frame, 30}), 0);
    return output.next();
  }

  /// How near what is shown comes to the picture, in dB.
  double sharpness(const PooledPicture& picture) {
    const AVFrame* shown = decoder.decode(encode(picture).annexB());
    return shown == nullptr ? 0 : lumaPSNR(*picture.buffer, *shown);
  }

  Output output;
  std::shared_ptr<ClockByHand> clock = std::make_shared<ClockByHand>();
  std::shared_ptr<CompressionSession> session = makeSession(kWidth, kHeight, output, clock);
  Decoder decoder;
  int frame = 0;
};

TEST_F(EncoderRateTest, EverySlideOfATalkIsSharp) {
  for (int slide = 0; slide < 12; ++slide) {
    EXPECT_GT(sharpness(page(slide)), 38) << "slide " << slide;
    clock->advance(5s);
  }
}

TEST_F(EncoderRateTest, SlidesTurnedQuicklyStayLegible) {
  for (int slide = 0; slide < 30; ++slide) {
    EXPECT_GT(sharpness(page(slide)), 30) << "slide " << slide;
    clock->advance(100ms);
  }
}

TEST_F(EncoderRateTest, AFilmStaysBelowTheRateOfAnOrdinaryLink) {
  const auto megabits = [this](int frames) {
    std::size_t bytes = 0;
    for (int n = 0; n < frames; ++n) {
      bytes += encode(page(frame)).annexB().size();
      clock->advance(kFrameTime);
    }
    return static_cast<double>(bytes) * 8 / 1e6;
  };
  EXPECT_GT(megabits(30), 12) << "the film is too easy to show anything";
  megabits(60);
  const double settled = megabits(60) / 2;
  EXPECT_LT(settled, 13);  // the bucket may still be filling
  EXPECT_GT(settled, 5);
}

TEST_F(EncoderRateTest, ACoarserStreamBeginsWithAKeyFrameAndItsOwnParameterSets) {
  std::vector<Bytes> sets;
  int changes = 0;
  for (int n = 0; n < 60; ++n) {
    const Encoded encoded = encode(page(n));
    ASSERT_EQ(encoded.status, 0);
    if (encoded.keyFrame && n > 0) {
      ++changes;
      EXPECT_NE(encoded.parameterSets, sets);
    }
    sets = encoded.parameterSets;
    EXPECT_NE(decoder.decode(encoded.annexB()), nullptr) << "frame " << n;
    clock->advance(kFrameTime);
  }
  EXPECT_GT(changes, 0);
  EXPECT_LT(changes, 5);
}

TEST_F(EncoderRateTest, APageAfterAFilmIsSharp) {
  double filmed = 0;
  for (int n = 0; n < 30; ++n) {
    filmed = sharpness(page(n));
    clock->advance(kFrameTime);
  }
  ASSERT_LT(filmed, 38) << "the film is too easy to show anything";
  clock->advance(1s);
  EXPECT_GT(sharpness(page(30)), 38);
}

// Its key frame takes more than a second of the link: one that came of every change of the
// quantiser would cause the next change.
TEST(EncoderRateOfAHeavyPageTest, APageThatStandsStillKeepsItsQuantiser) {
  Output output;
  const auto clock = std::make_shared<ClockByHand>();
  const auto session = makeSession(1920, 1080, output, clock);
  ASSERT_NE(session, nullptr);
  const PooledPicture noise = PixelBufferPool{1920, 1080}.take();
  paint({{0, 0, 1920, 1080, 0x808080}}, noise.picture);
  std::uint32_t random = 1;
  for (int y = 0; y < 1080; ++y) {
    for (int x = 0; x < 1920; ++x) {
      random = random * 1664525U + 1013904223U;
      noise.picture.planes[0][y * noise.picture.strides[0] + x] =
          static_cast<std::uint8_t>(16 + random % 220);
    }
  }
  for (int frame = 0; frame < 4; ++frame) {
    ASSERT_EQ(session->encodeFrame(noise.buffer, {frame, 30}), 0);
    const Encoded encoded = output.next();
    EXPECT_EQ(encoded.keyFrame, frame == 0) << "frame " << frame;
    if (frame == 0) {
      ASSERT_GT(encoded.annexB().size() * 8, 12'000'000U) << "too easy";
    }
    clock->advance(kFrameTime);
  }
}

}  // namespace
}  // namespace tessel::platform
