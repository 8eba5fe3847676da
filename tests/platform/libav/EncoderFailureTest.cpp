// An encoder that fails in the middle of a cast.
#include <gmock/gmock.h>

#include "tests/platform/libav/EncoderOutput.h"
#include "tests/platform/libav/ScriptedEncoders.h"

namespace tessel::platform {
namespace {

class EncoderFailureTest : public testing::Test {
 protected:
  // Two frames have come out of the fast hardware.
  void startCast() {
    session = std::get<std::shared_ptr<CompressionSession>>(
        LibavVideoEncoding{std::make_shared<ClockByHand>(), encoders.choice()}
            .makeCompressionSession(64, 48, {}, output.callback()));
    ASSERT_EQ(session->prepareToEncodeFrames(), 0);
    ASSERT_TRUE(encode().keyFrame);
    ASSERT_EQ(encode().status, 0);
    encoders.fast.framesBeforeFailing = 2;
  }
  Encoded encode() {
    EXPECT_EQ(session->encodeFrame(picture.buffer, {++frame, 30}), 0);
    return output.next();
  }
  bool usesHardware() { return std::get<bool>(session->usingHardwareAcceleratedVideoEncoder()); }
  // Expects a frame that begins the stream of a newly opened encoder.
  void expectNewStream(const Encoded& encoded) {
    EXPECT_EQ(encoded.status, 0);
    EXPECT_TRUE(encoded.keyFrame);
    const auto number = static_cast<std::uint8_t>(encoders.opened.size());
    EXPECT_THAT(encoded.parameterSets,
                testing::ElementsAre(Bytes{0x67, number}, Bytes{0x68, number}));
    EXPECT_THAT(encoded.units, testing::ElementsAre(Bytes{0x65, number}));
  }

  ScriptedEncoders encoders;
  Output output;
  const PooledPicture picture = patternPicture(64, 48, 1);
  std::shared_ptr<CompressionSession> session;
  int frame = 0;
};

TEST_F(EncoderFailureTest, TheFrameIsReportedAsDroppedAndHardwareIsOpenedAgain) {
  startCast();
  const Encoded failed = encode();
  EXPECT_EQ(failed.status, AVERROR(EIO));
  EXPECT_EQ(failed.infoFlags, kInfoFrameDropped);
  encoders.fast.framesBeforeFailing = -1;
  expectNewStream(encode());
  EXPECT_EQ(encoders.opened.back(), "fast");
  EXPECT_TRUE(usesHardware());
  EXPECT_FALSE(encode().keyFrame);
}

TEST_F(EncoderFailureTest, IfHardwareDoesNotOpenAgainSoftwareTakesOver) {
  startCast();
  encode();
  encoders.fast.openStatus = AVERROR(ENODEV);
  expectNewStream(encode());
  EXPECT_EQ(encoders.opened.back(), "software");
  EXPECT_FALSE(usesHardware());
}

TEST_F(EncoderFailureTest, HardwareThatFailsItsNewTrialIsNotUsedAgain) {
  startCast();
  encode();
  // Fails the trial: it takes three frames.
  expectNewStream(encode());
  EXPECT_EQ(encoders.opened.back(), "software");
}

TEST_F(EncoderFailureTest, HardwareThatFailsASecondTimeIsNotOpenedAThirdTime) {
  startCast();
  encode();
  encoders.fast.framesBeforeFailing = 3;
  expectNewStream(encode());
  EXPECT_TRUE(usesHardware());
  encode();
  encode();
  EXPECT_EQ(encode().status, AVERROR(EIO));
  expectNewStream(encode());
  EXPECT_EQ(encoders.opened.back(), "software");
}

TEST_F(EncoderFailureTest, AFrameThatIsHeldBackIsAFailure) {
  startCast();
  encoders.fast.framesBeforeFailing = -1;
  encoders.fast.delay = 1;
  EXPECT_EQ(encode().status, AVERROR(EAGAIN));
  expectNewStream(encode());
  EXPECT_EQ(encoders.opened.back(), "software");
}

TEST_F(EncoderFailureTest, SoftwareThatFailsIsOpenedAfresh) {
  encoders.fast.openStatus = encoders.slow.openStatus = AVERROR(ENODEV);
  startCast();
  encoders.software.framesBeforeFailing = 2;
  EXPECT_EQ(encode().status, AVERROR(EIO));
  expectNewStream(encode());
  EXPECT_EQ(encoders.opened.back(), "software");
}

TEST_F(EncoderFailureTest, WhileNothingOpensEachFrameFailsAndTheNextTriesAgain) {
  startCast();
  encoders.fast.openStatus = encoders.software.openStatus = AVERROR(EBUSY);
  EXPECT_EQ(encode().status, AVERROR(EIO));
  EXPECT_EQ(encode().status, AVERROR(EBUSY));
  EXPECT_EQ(encode().status, AVERROR(EBUSY));
  encoders.software.openStatus = 0;
  expectNewStream(encode());
}

TEST_F(EncoderFailureTest, ParameterSetsWithinTheStreamAreNoFrame) {
  encoders.fast.setsInStream = true;
  startCast();
  EXPECT_EQ(encode().status, AVERROR(EIO));
  encoders.fast.framesBeforeFailing = -1;
  expectNewStream(encode());
  EXPECT_EQ(output.waiting(), 0U);
}

}  // namespace
}  // namespace tessel::platform
