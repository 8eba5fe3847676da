// Which encoder is taken: hardware that works, else software.
#include <gmock/gmock.h>
#include <variant>

#include "platform/media/PixelBufferPool.h"
#include "tests/platform/libav/ScriptedEncoders.h"

namespace tessel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EncoderChoiceTest : public testing::Test {
 protected:
  // The name of the encoder that was opened; empty if none was.
  static std::string nameOf(const StatusOr<std::unique_ptr<H264Encoder>>& opened) {
    const auto* encoder = std::get_if<std::unique_ptr<H264Encoder>>(&opened);
    return encoder == nullptr ? std::string{} : (*encoder)->candidate().name;
  }
  std::string best() { return nameOf(encoders.choice().openBest(settings)); }
  std::string replacement(const EncoderCandidate* retried) {
    return nameOf(encoders.choice().openReplacement(settings, retried));
  }

  ScriptedEncoders encoders;
  const EncoderSettings settings{64, 48, 30};
};

TEST_F(EncoderChoiceTest, HardwareThatAnswersEachTrialFrameIsTaken) { EXPECT_EQ(best(), "fast"); }

TEST_F(EncoderChoiceTest, AfterItsTrialHardwareBeginsANewStream) {
  const auto opened = encoders.choice().openBest(settings);
  EXPECT_THAT(encoders.opened, ElementsAre("fast", "fast"));
  EXPECT_EQ(encoders.fast.most, 1) << "the trial's encoder is closed first";
  bool keyFrame = false;
  EXPECT_EQ(std::get<std::unique_ptr<H264Encoder>>(opened)->encode(
                PixelBufferPool(64, 48).take().buffer, 0,
                [&](const EncoderPacket& packet) { return keyFrame = packet.keyFrame; }),
            0);
  EXPECT_TRUE(keyFrame);
}

TEST_F(EncoderChoiceTest, HardwareThatIsAFrameOrTwoBehindIsPassedOver) {
  for (const int frames : {1, 2}) {
    encoders.fast.delay = frames;
    EXPECT_EQ(best(), "slow") << frames;
  }
}

TEST_F(EncoderChoiceTest, HardwareThatFailsDuringItsTrialIsPassedOver) {
  for (const int frames : {0, 1, 2}) {
    encoders.fast.framesBeforeFailing = frames;
    EXPECT_EQ(best(), "slow") << frames;
  }
  encoders.fast.framesBeforeFailing = 3;
  EXPECT_EQ(best(), "fast");
}

TEST_F(EncoderChoiceTest, HardwareWhosePacketsHoldNoPictureIsPassedOver) {
  encoders.fast.picturesInPackets = false;
  EXPECT_EQ(best(), "slow");
}

TEST_F(EncoderChoiceTest, HardwareThatSendsItsParameterSetsByThemselvesIsTaken) {
  encoders.fast.setsInStream = true;
  EXPECT_EQ(best(), "fast");
}

TEST_F(EncoderChoiceTest, HardwareThatDoesNotOpenASecondTimeIsPassedOver) {
  encoders.fast.opensBeforeFailing = 1;
  EXPECT_EQ(best(), "slow");
}

TEST_F(EncoderChoiceTest, HardwareWithoutItsDeviceIsNotOpened) {
  encoders.hideFast();
  EXPECT_EQ(best(), "slow");
  EXPECT_THAT(encoders.opened, ElementsAre("slow", "slow"));
}

TEST_F(EncoderChoiceTest, SoftwareIsTakenWithoutATrial) {
  encoders.fast.openStatus = encoders.slow.openStatus = AVERROR_ENCODER_NOT_FOUND;
  EXPECT_EQ(best(), "software");
  EXPECT_THAT(encoders.opened, ElementsAre("software"));
}

TEST_F(EncoderChoiceTest, TheFirstFailureThatIsMoreThanAnAbsenceIsReported) {
  encoders.fast.openStatus = AVERROR_ENCODER_NOT_FOUND;
  encoders.slow.openStatus = AVERROR(EACCES);
  encoders.software.openStatus = AVERROR(ENOMEM);
  EXPECT_EQ(std::get<Status>(encoders.choice().openBest(settings)), AVERROR(EACCES));
}

TEST_F(EncoderChoiceTest, AReplacementIsTheSameHardwareIfItWorks) {
  EXPECT_EQ(replacement(&encoders.slowCandidate()), "slow");
  EXPECT_THAT(encoders.opened, ElementsAre("slow", "slow"));
}

TEST_F(EncoderChoiceTest, AReplacementIsSoftwareIfTheHardwareDoesNotWork) {
  encoders.fast.framesBeforeFailing = 0;
  EXPECT_EQ(replacement(&encoders.fastCandidate()), "software");
  EXPECT_THAT(encoders.opened, ElementsAre("fast", "software"));
}

TEST_F(EncoderChoiceTest, AReplacementIsSoftwareIfNoHardwareIsToBeRetried) {
  EXPECT_EQ(replacement(nullptr), "software");
  EXPECT_EQ(encoders.fast.opened + encoders.slow.opened, 0);
}

}  // namespace
}  // namespace tessel::platform
