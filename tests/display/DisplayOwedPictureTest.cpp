// A picture that could not go out is delivered later, even if the screen stands still.
#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kOneFrame = 34ms;  // a little more than the time between two frames
constexpr platform::Status kEncoderFailure = -12905;

class DisplayOwedPictureTest : public DisplayTest {
 protected:
  using Picture = std::shared_ptr<const platform::PixelBuffer>;

  DisplayOwedPictureTest() {
    startUntilCasting();
    world.log.clear();
  }

  // A new picture on the screen.
  Picture change() {
    auto picture = capture()->deliverPicture();
    world.run();
    return picture;
  }
  // Uses up the credits of the start.
  void useUpCredits() {
    for (int i = 0; i < 6; ++i) change();
  }
  void receiveSurplusAcknowledgements() {
    for (int i = 0; i < 100; ++i) hubSends(kAcknowledgement);
  }
  // The encoder's answer to its oldest frame.
  void answer(platform::Status status, std::shared_ptr<FakeEncodedSampleBuffer> frame = nullptr) {
    encoder()->output(status, 0, std::move(frame));
    world.run();
  }
  static std::shared_ptr<FakeEncodedSampleBuffer> goodFrame() {
    auto frame = std::make_shared<FakeEncodedSampleBuffer>();
    frame->notSyncValue = true;
    frame->units = std::vector<Bytes>{{0x41}};
    return frame;
  }
  std::size_t encoded() const { return encoder()->frames.size(); }
};

TEST_F(DisplayOwedPictureTest, TheNewestPictureDroppedForWantOfACreditGoesOutWithTheNextCredit) {
  useUpCredits();
  change();
  const Picture newest = change();
  EXPECT_EQ(encoded(), 6U);
  const std::size_t sends = connection()->sends.size();
  hubSends(kAcknowledgement);
  ASSERT_EQ(encoded(), 7U);
  EXPECT_EQ(encoder()->pictures.back(), newest);
  EXPECT_EQ(encoder()->frames[6].value, encoder()->frames[5].value + 1);
  EXPECT_EQ(connection()->sends.size(), sends + 2);
  EXPECT_EQ(display->ackedSamples(), 0);
  EXPECT_EQ(display->statistics().framesDropped, 2);
  EXPECT_THAT(world.log.lines(), IsEmpty());
}

TEST_F(DisplayOwedPictureTest, ItGoesOutOnce) {
  useUpCredits();
  change();
  hubSends(kAcknowledgement);
  hubSends(kAcknowledgement);
  world.advance(10s);
  EXPECT_EQ(encoded(), 7U);
  EXPECT_EQ(display->ackedSamples(), 1);
}

TEST_F(DisplayOwedPictureTest, WithoutACreditNothingIsTried) {
  useUpCredits();
  change();
  world.advance(10s);
  EXPECT_EQ(encoded(), 6U);
}

TEST_F(DisplayOwedPictureTest, AScreenWhosePicturesAllWentOutOwesNothing) {
  change();
  hubSends(kAcknowledgement);
  world.advance(10s);
  EXPECT_EQ(encoded(), 1U);
}

TEST_F(DisplayOwedPictureTest, AThirdPictureInTheEncoderIsLateAndGoesOutWhenOneHasLeftIt) {
  encoder()->automaticOutput = false;
  change();
  change();
  const Picture late = change();
  EXPECT_EQ(encoded(), 2U);
  EXPECT_EQ(display->ackedSamples(), 4);
  EXPECT_EQ(display->statistics().framesDropped, 1);
  EXPECT_THAT(world.log.lines(), IsEmpty());
  answer(0, goodFrame());
  ASSERT_EQ(encoded(), 3U);
  EXPECT_EQ(encoder()->pictures.back(), late);
  EXPECT_EQ(encoder()->frames[2].value, encoder()->frames[1].value + 1);
  answer(0, goodFrame());
  answer(0, goodFrame());
  EXPECT_EQ(encoded(), 3U);
}

TEST_F(DisplayOwedPictureTest, APictureDroppedBehindUnsentBytesGoesOutOnceTheyHaveGone) {
  connection()->unsent = (std::size_t{32} << 20U) + 1;
  const Picture dropped = change();
  world.advance(1s);
  EXPECT_THAT(encoder()->frames, IsEmpty());
  connection()->unsent = 0;
  world.advance(kOneFrame);
  EXPECT_THAT(encoder()->pictures, ElementsAre(dropped));
  world.advance(1s);
  EXPECT_EQ(encoded(), 1U);
}

TEST_F(DisplayOwedPictureTest, ANewerPictureThatGoesOutSettlesTheDebt) {
  connection()->unsent = (std::size_t{32} << 20U) + 1;
  change();
  connection()->unsent = 0;
  const Picture newer = change();
  world.advance(1s);
  EXPECT_THAT(encoder()->pictures, ElementsAre(newer));
}

TEST_F(DisplayOwedPictureTest, APictureThatTheEncoderRefusesIsTriedAgainAFrameLater) {
  encoder()->encodeStatus = kEncoderFailure;
  const Picture picture = change();
  encoder()->encodeStatus = 0;
  world.advance(33ms);
  EXPECT_EQ(encoded(), 1U);
  world.advance(1ms);
  EXPECT_THAT(encoder()->pictures, ElementsAre(picture, picture));
  EXPECT_EQ(display->ackedSamples(), 4);
  world.advance(10s);
  EXPECT_EQ(encoded(), 2U);
}

TEST_F(DisplayOwedPictureTest, APictureThatIsLostInTheEncoderIsTriedAgain) {
  encoder()->automaticOutput = false;
  const Picture picture = change();
  auto unusable = std::make_shared<FakeEncodedSampleBuffer>();
  unusable->units = kEncoderFailure;
  answer(kEncoderFailure);
  world.advance(kOneFrame);
  EXPECT_EQ(encoded(), 2U);
  answer(0, nullptr);
  world.advance(2 * kOneFrame);
  EXPECT_EQ(encoded(), 3U);
  answer(0, unusable);
  world.advance(4 * kOneFrame);
  EXPECT_EQ(encoded(), 4U);
  EXPECT_EQ(encoder()->pictures.back(), picture);
  answer(0, goodFrame());
  world.advance(10s);
  EXPECT_EQ(encoded(), 4U);
}

TEST_F(DisplayOwedPictureTest, APictureLostInFrontOfANewerOneIsNotTriedAgain) {
  encoder()->automaticOutput = false;
  change();
  change();
  answer(kEncoderFailure);
  answer(0, goodFrame());
  world.advance(10s);
  EXPECT_EQ(encoded(), 2U);
}

TEST_F(DisplayOwedPictureTest, ABrokenEncoderIsTriedEverMoreSeldom) {
  receiveSurplusAcknowledgements();
  encoder()->encodeStatus = kEncoderFailure;
  change();
  // After 33, 67, 133, 267, 533, 1067, 1067 ... ms.
  world.advance(1050ms);
  EXPECT_EQ(encoded(), 6U);
  world.advance(10s);
  EXPECT_EQ(encoded(), 15U);
}

TEST_F(DisplayOwedPictureTest, NoAcknowledgementShortensThePauseAfterAFailure) {
  encoder()->encodeStatus = kEncoderFailure;
  change();
  receiveSurplusAcknowledgements();
  EXPECT_EQ(encoded(), 1U);
  encoder()->encodeStatus = 0;
  encoder()->automaticOutput = false;
  world.advance(kOneFrame);
  answer(kEncoderFailure);
  receiveSurplusAcknowledgements();
  EXPECT_EQ(encoded(), 2U);
}

TEST_F(DisplayOwedPictureTest, AfterASuccessThePauseIsShortAgain) {
  receiveSurplusAcknowledgements();
  encoder()->encodeStatus = kEncoderFailure;
  change();
  world.advance(3s);
  encoder()->encodeStatus = 0;
  world.advance(2s);
  encoder()->encodeStatus = kEncoderFailure;
  const std::size_t before = encoded();
  change();
  world.advance(kOneFrame);
  EXPECT_EQ(encoded(), before + 2);
}

TEST_F(DisplayOwedPictureTest, TriesTakeCreditsLikeAnyFrame) {
  encoder()->encodeStatus = kEncoderFailure;
  change();
  world.advance(60s);
  EXPECT_EQ(encoded(), 6U);
  EXPECT_EQ(display->ackedSamples(), 0);
  const std::string output =
      "-[TSLDisplayConnection captureOutput:didOutputSampleBuffer:fromConnection:]: ";
  EXPECT_THAT(world.log.queuesOf(output),
              ElementsAre(display->sampleBufferDispatchQueue()->label()));
}

TEST_F(DisplayOwedPictureTest, NothingIsTriedOnceTheChannelIsDown) {
  useUpCredits();
  change();
  connection()->enterState(platform::ConnectionState::kFailed);
  world.run();
  hubSends(kAcknowledgement);
  world.advance(10s);
  EXPECT_EQ(encoded(), 6U);
}

TEST_F(DisplayOwedPictureTest, AStopForgetsWhatIsOwed) {
  encoder()->encodeStatus = kEncoderFailure;
  change();
  display->stopWithCompletionHandler(nullptr);
  startUntilCasting();
  world.advance(10s);
  EXPECT_THAT(encoder()->frames, IsEmpty());
}

TEST_F(DisplayOwedPictureTest, AStopLetsThePictureGo) {
  useUpCredits();
  const std::weak_ptr<const platform::PixelBuffer> owed = change();
  EXPECT_FALSE(owed.expired());
  display->stopWithCompletionHandler(nullptr);
  EXPECT_TRUE(owed.expired());
}

TEST_F(DisplayOwedPictureTest, AStartAfterALossBeginsWithAnEmptyEncoder) {
  encoder()->automaticOutput = false;
  change();
  change();
  connection()->enterState(platform::ConnectionState::kFailed);
  world.run();
  startUntilCasting();
  change();
  EXPECT_EQ(encoded(), 1U);
}

}  // namespace
}  // namespace tessel::test
