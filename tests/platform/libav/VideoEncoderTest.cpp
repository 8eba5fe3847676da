#include <gtest/gtest.h>

#include "platform/media/NalUnits.h"
#include "tests/platform/libav/EncoderOutput.h"
#include "tests/support/ThreadSignals.h"

namespace tessel::platform {
namespace {

TEST(VideoEncoderTest, StreamDecodesFrameByFrameInOrder) {
  Output output;
  const auto session = makeSession(1280, 720, output);
  ASSERT_NE(session, nullptr);
  Decoder decoder;
  for (std::uint32_t counter = 1; counter <= 40; ++counter) {
    ASSERT_EQ(session->encodeFrame(patternPicture(1280, 720, counter).buffer, {counter, 30}), 0);
    const Encoded encoded = output.next();
    ASSERT_EQ(encoded.status, 0);
    EXPECT_EQ(encoded.keyFrame, counter == 1);
    EXPECT_NE(encoded.thread, std::this_thread::get_id());
    const AVFrame* shown = decoder.decode(encoded.annexB());
    ASSERT_NE(shown, nullptr) << "frame " << counter;
    EXPECT_EQ(shown->width, 1280);
    EXPECT_EQ(shown->height, 720);
    EXPECT_NE(shown->pict_type, AV_PICTURE_TYPE_B);
    EXPECT_EQ(readFrameCounter(shown->data[0], shown->linesize[0], 1280, 720), counter);
  }
}

TEST(VideoEncoderTest, TextIsSharp) {
  Output output;
  const auto session = makeSession(1280, 720, output);
  ASSERT_NE(session, nullptr);
  Decoder decoder;
  for (int frame = 0; frame < 10; ++frame) {
    const PooledPicture page = textPicture(1280, 720, frame * 7);
    ASSERT_EQ(session->encodeFrame(page.buffer, {frame, 30}), 0);
    const AVFrame* shown = decoder.decode(output.next().annexB());
    ASSERT_NE(shown, nullptr);
    EXPECT_GT(lumaPSNR(*page.buffer, *shown), 38) << "frame " << frame;
  }
}

TEST(VideoEncoderTest, ParameterSetsStandApartFromTheFrames) {
  Output output;
  const auto session = makeSession(640, 360, output);
  ASSERT_NE(session, nullptr);
  for (std::uint32_t counter = 1; counter <= 3; ++counter) {
    ASSERT_EQ(session->encodeFrame(patternPicture(640, 360, counter).buffer, {counter, 30}), 0);
    const Encoded encoded = output.next();
    ASSERT_EQ(encoded.parameterSets.size(), 2U);
    EXPECT_EQ(nalType(encoded.parameterSets[0]), NalType::kSequenceParameterSet);
    EXPECT_EQ(nalType(encoded.parameterSets[1]), NalType::kPictureParameterSet);
    ASSERT_FALSE(encoded.units.empty());
    for (const Bytes& unit : encoded.units) {
      EXPECT_EQ(nalType(unit), counter == 1 ? NalType::kIdrSlice : NalType::kSlice);
    }
  }
}

TEST(VideoEncoderTest, ColoursAreTold) {
  Output output;
  const auto session = makeSession(640, 360, output);
  ASSERT_NE(session, nullptr);
  ASSERT_EQ(session->encodeFrame(patternPicture(640, 360, 1).buffer, {1, 30}), 0);
  Decoder decoder;
  const AVFrame* shown = decoder.decode(output.next().annexB());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->colorspace, AVCOL_SPC_SMPTE170M);
  EXPECT_EQ(shown->color_range, AVCOL_RANGE_MPEG);
}

TEST(VideoEncoderTest, OddSizesAreCutToEvenOnes) {
  Output output;
  const auto session = makeSession(641, 361, output);
  ASSERT_NE(session, nullptr);
  Decoder decoder;
  ASSERT_EQ(session->encodeFrame(patternPicture(641, 361, 5).buffer, {5, 30}), 0);
  const AVFrame* shown = decoder.decode(output.next().annexB());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->width, 640);
  EXPECT_EQ(shown->height, 360);
  EXPECT_EQ(readFrameCounter(shown->data[0], shown->linesize[0], 640, 360), 5U);
}

TEST(VideoEncoderTest, AScreenThatAlwaysChangesHasAKeyFrameEveryTenSeconds) {
  Output output;
  const auto session = makeSession(64, 48, output);
  ASSERT_NE(session, nullptr);
  const PooledPicture picture = patternPicture(64, 48, 1);
  for (int frame = 1; frame <= 301; ++frame) {
    ASSERT_EQ(session->encodeFrame(picture.buffer, {frame, 30}), 0);
    ASSERT_EQ(output.next().keyFrame, frame == 1 || frame == 301) << "frame " << frame;
  }
}

TEST(VideoEncoderTest, TimeThatStandsStillIsNoObstacle) {
  Output output;
  const auto session = makeSession(64, 48, output);
  ASSERT_NE(session, nullptr);
  for (const int value : {9, 9, 3, 10}) {
    ASSERT_EQ(session->encodeFrame(patternPicture(64, 48, 1).buffer, {value, 30}), 0);
    EXPECT_EQ(output.next().status, 0);
  }
}

TEST(VideoEncoderTest, NothingComesAfterInvalidateFromAnotherThread) {
  for (int round = 0; round < 5; ++round) {
    Output output;
    const auto session = makeSession(1280, 720, output);
    ASSERT_NE(session, nullptr);
    const PooledPicture picture = patternPicture(1280, 720, 1);
    std::thread ending{[&] {
      output.next();
      session->invalidate();
    }};
    Status status = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
    for (int frame = 0; status == 0 || status == AVERROR(EAGAIN); ++frame) {
      status = session->encodeFrame(picture.buffer, {frame, 30});
      if (std::chrono::steady_clock::now() > end) break;
      std::this_thread::yield();
    }
    ending.join();
    EXPECT_EQ(status, AVERROR_EOF);
    const std::size_t waiting = output.waiting();
    EXPECT_EQ(session->encodeFrame(picture.buffer, {1, 30}), AVERROR_EOF);
    session->invalidate();
    EXPECT_EQ(output.waiting(), waiting);
  }
}

TEST(VideoEncoderTest, PictureOfAnotherSizeIsRefused) {
  Output output;
  const auto session = makeSession(640, 360, output);
  ASSERT_NE(session, nullptr);
  const Status status = session->encodeFrame(patternPicture(320, 240, 1).buffer, {1, 30});
  EXPECT_NE(status, 0);
  EXPECT_FALSE(videoEncoding().describe(status).empty());
  EXPECT_NE(session->encodeFrame(nullptr, {1, 30}), 0);
}

TEST(VideoEncoderTest, ImpossibleSizesAreRefused) {
  Output output;
  for (const auto& [width, height] : {std::pair{0, 0}, {1, 720}, {1280, -1}, {100000, 720}}) {
    EXPECT_TRUE(std::holds_alternative<Status>(
        videoEncoding().makeCompressionSession(width, height, {}, output.callback())));
  }
}

TEST(VideoEncoderTest, OnlyRealTimeWithoutReorderingIsOffered) {
  Output output;
  const auto refuses = [&](const CompressionSettings& settings) {
    return std::holds_alternative<Status>(
        videoEncoding().makeCompressionSession(640, 360, settings, output.callback()));
  };
  EXPECT_TRUE(refuses({.allowFrameReordering = true}));
  EXPECT_TRUE(refuses({.realTime = false}));
  EXPECT_TRUE(refuses({.expectedFrameRate = 0}));
  EXPECT_FALSE(refuses({}));
}

TEST(VideoEncoderTest, TellsWhetherItIsHardwareBeforeItIsPrepared) {
  Output output;
  auto made = videoEncoding().makeCompressionSession(640, 360, {}, output.callback());
  const auto session = std::get<std::shared_ptr<CompressionSession>>(made);
  EXPECT_TRUE(std::holds_alternative<bool>(session->usingHardwareAcceleratedVideoEncoder()));
  session->invalidate();
  EXPECT_NE(session->prepareToEncodeFrames(), 0);
}

TEST(VideoEncoderTest, TheHostsSignalsStayOffItsThread) {
  Output output;
  const auto session = makeSession(64, 48, output);
  ASSERT_NE(session, nullptr);
  ASSERT_EQ(session->encodeFrame(patternPicture(64, 48, 1).buffer, {1, 30}), 0);
  ASSERT_EQ(output.next().status, 0);
  EXPECT_EQ(test::keepsHostSignalsOff("tessel-encoder"), true);
}

}  // namespace
}  // namespace tessel::platform
