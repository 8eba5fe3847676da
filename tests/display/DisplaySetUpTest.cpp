// What a display channel captures and encodes with.
#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using platform::Clock;
using namespace std::chrono_literals;
using testing::ElementsAre;

const std::string kCaptureSetup = "-[TSLDisplayConnection screenCaptureSessionWithSize:error:]";
const std::string kEncoderSetup = "-[TSLDisplayConnection compressionSessionWithSize:error:]";

class DisplaySetUpTest : public DisplayTest {
 protected:
  std::optional<Error> setUpError;
};

TEST_F(DisplaySetUpTest, TheFirstScreenIsCapturedWithoutItsCursor) {
  world.screens.list = {Screen{69, {{0, 0}, {800, 600}}}, Screen{70, {{800, 0}, {1920, 1080}}}};
  ASSERT_NE(display->screenCaptureSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_EQ(setUpError, std::nullopt);
  EXPECT_EQ(capture()->input.displayID, 69U);
  EXPECT_EQ(capture()->input.minFrameDuration, Clock::Duration{1s} / 30);
  EXPECT_EQ(capture()->output.size, (Size{1280, 720}));
  EXPECT_FALSE(capture()->running);
}

TEST_F(DisplaySetUpTest, ACaptureOfASecondDisplayIsNotPossible) {
  world.screens.list = {Screen{1, {{0, 0}, {800, 600}}}, Screen{2, {{800, 0}, {800, 600}}}};
  startUntilCasting();
  EXPECT_EQ(world.capture.sessions.size(), 1U);
  EXPECT_EQ(capture()->input.displayID, 1U);
}

TEST_F(DisplaySetUpTest, AnInputThatCannotBeAddedIsAnError) {
  world.capture.inputAccepted = false;
  EXPECT_EQ(display->screenCaptureSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_EQ(setUpError, (Error{"AVFoundationErrorDomain", -11800, ""}));
  EXPECT_THAT(world.log.lines(),
              ElementsAre(kCaptureSetup + ": Cannot add AVCaptureScreenInput to capture session!"));
}

TEST_F(DisplaySetUpTest, WithoutAScreenThereIsNoInput) {
  world.screens.list.clear();
  EXPECT_EQ(display->screenCaptureSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_EQ(setUpError, (Error{"AVFoundationErrorDomain", -11800, ""}));
  EXPECT_THAT(world.log.lines(),
              ElementsAre("-[TSLDisplayConnection screenCaptureSessionWithSize:error:]: "
                          "Cannot add AVCaptureScreenInput to capture session!"));
}

TEST_F(DisplaySetUpTest, AnOutputThatCannotBeAddedIsAnError) {
  world.capture.outputAccepted = false;
  EXPECT_EQ(display->screenCaptureSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_EQ(setUpError, (Error{"AVFoundationErrorDomain", -11800, ""}));
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(kCaptureSetup + ": Cannot add AVCaptureVideoDataOutput to capture session!"));
}

// Encoder set-up.

TEST_F(DisplaySetUpTest, TheEncoderGetsItsThreePropertiesAndIsPrepared) {
  const auto made = display->compressionSessionWithSize({1280.9, 720.2}, setUpError);
  EXPECT_EQ(made, encoder());
  EXPECT_EQ(encoder()->width, 1280);
  EXPECT_EQ(encoder()->height, 720);
  EXPECT_FALSE(encoder()->settings.allowFrameReordering);
  EXPECT_TRUE(encoder()->settings.realTime);
  EXPECT_EQ(encoder()->settings.expectedFrameRate, 30);
  EXPECT_THAT(encoder()->calls, ElementsAre("UsingHardware", "Prepare"));
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(kEncoderSetup + ": Compression session using hardware acceleration: YES"));
}

TEST_F(DisplaySetUpTest, ASoftwareEncoderIsSaidToBeOne) {
  world.encoding.onCreate = [](FakeCompressionSession& made) { made.hardware = false; };
  EXPECT_NE(display->compressionSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_THAT(world.log.lines(),
              ElementsAre(kEncoderSetup + ": Compression session using hardware acceleration: NO"));
}

TEST_F(DisplaySetUpTest, AnEncoderThatDoesNotSayWhatItIsGoesOn) {
  world.encoding.onCreate = [](FakeCompressionSession& made) {
    made.hardware = platform::Status{-12900};
  };
  EXPECT_NE(display->compressionSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(kEncoderSetup +
                  ": VTSessionCopyProperty(kVTCompressionPropertyKey_"
                  "UsingHardwareAcceleratedVideoEncoder) failed. error: "
                  "Error Domain=NSOSStatusErrorDomain Code=-12900 \"encoder status -12900\""));
}

TEST_F(DisplaySetUpTest, AnEncoderThatCannotBeMadeIsAnError) {
  world.encoding.createStatus = -12902;
  EXPECT_EQ(display->compressionSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_EQ(setUpError, (Error{"NSOSStatusErrorDomain", -12902, "encoder status -12902"}));
  EXPECT_THAT(world.log.lines(),
              ElementsAre(kEncoderSetup + ": Failed to create compression session. error: Error "
                                          "Domain=NSOSStatusErrorDomain Code=-12902 "
                                          "\"encoder status -12902\""));
}

TEST_F(DisplaySetUpTest, AnEncoderThatCannotBePreparedIsInvalidated) {
  world.encoding.onCreate = [](FakeCompressionSession& made) { made.prepareStatus = -12911; };
  EXPECT_EQ(display->compressionSessionWithSize({1280, 720}, setUpError), nullptr);
  EXPECT_EQ(setUpError, (Error{"NSOSStatusErrorDomain", -12911, "encoder status -12911"}));
  EXPECT_EQ(encoder()->invalidations, 1);
  EXPECT_EQ(world.log.lines().back(),
            kEncoderSetup +
                ": Failed to prepare compression session. error: Error "
                "Domain=NSOSStatusErrorDomain Code=-12911 \"encoder status -12911\"");
}

}  // namespace
}  // namespace tessel::test
