// How sharp frames are, and what they may cost.
#include <gtest/gtest.h>

#include "tests/platform/EncoderOutput.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

/// Encodes and decodes frames of 1280 by 720, as time passes by hand.
class EncoderRateTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(session, nullptr); }

  /// Shows the picture; returns the bytes sent, and how near what is shown comes to it, in dB.
  std::pair<std::size_t, double> show(const PooledPicture& picture) {
    EXPECT_EQ(session->encodeFrame(picture.buffer, {++frame, 30}), 0);
    const Bytes stream = output.next().annexB();
    const AVFrame* shown = decoder.decode(stream);
    return {stream.size(), shown == nullptr ? 0 : lumaPSNR(*picture.buffer, *shown)};
  }

  static constexpr int kWidth = 1280;
  static constexpr int kHeight = 720;
  Output output;
  std::shared_ptr<ClockByHand> clock = std::make_shared<ClockByHand>();
  std::shared_ptr<CompressionSession> session = makeSession(kWidth, kHeight, output, clock);
  Decoder decoder;
  int frame = 0;
};

/// A film: no frame helps to tell the next one.
PooledPicture filmPicture(int width, int height, int frame) {
  return textPicture(width, height, frame * 1600);
}

TEST_F(EncoderRateTest, EverySlideOfATalkIsSharp) {
  for (int slide = 0; slide < 12; ++slide) {
    EXPECT_GT(show(textPicture(kWidth, kHeight, slide * 1600)).second, 38) << "slide " << slide;
    clock->advance(5s);
  }
}

TEST_F(EncoderRateTest, SlidesTurnedQuicklyStayLegible) {
  for (int slide = 0; slide < 12; ++slide) {
    EXPECT_GT(show(textPicture(kWidth, kHeight, slide * 1600)).second, 30) << "slide " << slide;
    clock->advance(250ms);
  }
}

TEST_F(EncoderRateTest, AFilmStaysBelowTheRateOfAnOrdinaryLink) {
  const auto second = [this](int from) {
    std::size_t bytes = 0;
    for (int n = 0; n < 30; ++n) {
      bytes += show(filmPicture(kWidth, kHeight, from + n)).first;
      clock->advance(33333us);
    }
    return static_cast<double>(bytes) * 8 / 1e6;
  };
  EXPECT_GT(second(0), 12) << "the film is too easy to show anything";
  second(100);
  const double settled = (second(200) + second(300) + second(400)) / 3;
  EXPECT_LT(settled, 12);
  EXPECT_GT(settled, 5);
}

TEST_F(EncoderRateTest, ACoarserStreamBeginsWithAKeyFrameAndItsOwnParameterSets) {
  std::vector<Bytes> sets;
  int changes = 0;
  for (int n = 0; n < 60; ++n) {
    ASSERT_EQ(session->encodeFrame(filmPicture(kWidth, kHeight, n).buffer, {++frame, 30}), 0);
    const Encoded encoded = output.next();
    ASSERT_EQ(encoded.status, 0);
    if (encoded.keyFrame && n > 0) {
      ++changes;
      EXPECT_NE(encoded.parameterSets, sets);
    }
    sets = encoded.parameterSets;
    EXPECT_NE(decoder.decode(encoded.annexB()), nullptr) << "frame " << n;
    clock->advance(33333us);
  }
  EXPECT_GT(changes, 0);
  EXPECT_LT(changes, 5);
}

TEST_F(EncoderRateTest, APageAfterAFilmIsSharpAgain) {
  for (int n = 0; n < 30; ++n) {
    show(filmPicture(kWidth, kHeight, n));
    clock->advance(33333us);
  }
  clock->advance(1s);
  EXPECT_GT(show(textPicture(kWidth, kHeight, 0)).second, 38);
}

}  // namespace
}  // namespace tessel::platform
