// Frames on their way from the capture to the channel, and what they cost.
#include <cstdlib>
#include <iostream>

#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kOutput =
    "-[TSLDisplayConnection captureOutput:didOutputSampleBuffer:fromConnection:]";
const std::string kCompressed =
    "-[TSLDisplayConnection compressionOutputCompletedWithStatus:infoFlags:sampleBuffer:]";

// Bytes on the wire of the frame that the simulated encoder makes: header, start code, unit.
constexpr std::int64_t kFrameOnTheWire = 56 + 5;

class DisplayVideoTest : public DisplayTest {
 protected:
  // A frame whose NAL units are unavailable.
  static std::shared_ptr<FakeEncodedSampleBuffer> brokenFrame() {
    auto frame = std::make_shared<FakeEncodedSampleBuffer>();
    frame->notSyncValue = true;
    frame->units = platform::Status{-1};
    return frame;
  }
};

// Frames and credits.

TEST_F(DisplayVideoTest, AFrameIsEncodedAndSent) {
  startUntilCasting();
  world.log.clear();
  const std::size_t before = connection()->sends.size();
  castFrame();
  ASSERT_EQ(connection()->sends.size(), before + 2);
  EXPECT_EQ(connection()->sends[before].size(), 56U);
  EXPECT_EQ(connection()->sends[before + 1], (Bytes{0, 0, 0, 1, 0x41}));
  EXPECT_EQ(display->ackedSamples(), 5);
  EXPECT_THAT(world.log.lines(), IsEmpty());
}

// A process of its own: the numbers are the process's.
TEST_F(DisplayVideoTest, TheFirstFrameOfAProcessIsNumber1) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        startUntilCasting();
        castFrame();
        castFrame();
        std::cerr << "frames";
        for (const auto& frame : encoder()->frames) std::cerr << " " << frame.value;
        std::cerr << "\n";
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "frames 1 2\n");
}

TEST_F(DisplayVideoTest, FramesAreNumberedAt30ASecond) {
  startUntilCasting();
  castFrame();
  castFrame();
  ASSERT_EQ(encoder()->frames.size(), 2U);
  EXPECT_EQ(encoder()->frames[0].timescale, 30);
  EXPECT_EQ(encoder()->frames[1].value, encoder()->frames[0].value + 1);
  EXPECT_GE(encoder()->frames[0].value, 1);
}

TEST_F(DisplayVideoTest, WithoutAcknowledgementsExactly6FramesAreEncoded) {
  startUntilCasting();
  world.log.clear();
  for (int i = 0; i < 20; ++i) castFrame();
  EXPECT_EQ(encoder()->frames.size(), 6U);
  EXPECT_EQ(display->ackedSamples(), 0);
  EXPECT_THAT(world.log.lines(), IsEmpty());
  const auto statistics = display->statistics();
  EXPECT_EQ(statistics.framesCaptured, 20);
  EXPECT_EQ(statistics.framesEncoded, 6);
  EXPECT_EQ(statistics.framesDropped, 14);
  EXPECT_EQ(statistics.credits, 0);
  EXPECT_EQ(statistics.bytesSent, 9 + 228 + 6 * kFrameOnTheWire);
}

TEST_F(DisplayVideoTest, FramesDroppedForWantOfACreditDoNotCount) {
  startUntilCasting();
  for (int i = 0; i < 10; ++i) castFrame();
  hubSends(kAcknowledgement);
  castFrame();
  ASSERT_EQ(encoder()->frames.size(), 7U);
  EXPECT_EQ(encoder()->frames[6].value, encoder()->frames[5].value + 1);
}

TEST_F(DisplayVideoTest, AnAcknowledgementLetsOneMoreFrameThrough) {
  startUntilCasting();
  for (int i = 0; i < 10; ++i) castFrame();
  hubSends(kAcknowledgement);
  castFrame();
  castFrame();
  EXPECT_EQ(encoder()->frames.size(), 7U);
}

TEST_F(DisplayVideoTest, SurplusAcknowledgementsRaiseTheCredits) {
  startUntilCasting();
  for (int i = 0; i < 100; ++i) hubSends(kAcknowledgement);
  EXPECT_EQ(display->ackedSamples(), 106);
}

TEST_F(DisplayVideoTest, AHubThatAcknowledgesWithoutReadingGetsNoMoreFrames) {
  startUntilCasting();
  for (int i = 0; i < 100; ++i) hubSends(kAcknowledgement);
  connection()->unsent = (std::size_t{32} << 20U) + 1;
  castFrame();
  EXPECT_THAT(encoder()->frames, IsEmpty());
  EXPECT_EQ(display->ackedSamples(), 106);
  EXPECT_EQ(display->statistics().framesDropped, 1);
  connection()->unsent = 0;
  castFrame();
  EXPECT_EQ(encoder()->frames.size(), 1U);
}

TEST_F(DisplayVideoTest, AFrameWithoutAPictureIsLoggedAndCountsAndCostsItsCredit) {
  startUntilCasting();
  castFrame();
  world.log.clear();
  capture()->deliver({});
  world.run();
  castFrame();
  ASSERT_EQ(encoder()->frames.size(), 2U);
  const auto lost = encoder()->frames[0].value + 1;
  EXPECT_EQ(encoder()->frames[1].value, lost + 1);
  EXPECT_EQ(display->ackedSamples(), 3);
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(kOutput + ": unable to get CVPixelBufferRef for frame " + std::to_string(lost)));
}

TEST_F(DisplayVideoTest, AFrameThatTheEncoderRefusesIsLoggedAndCountsAndCostsItsCredit) {
  startUntilCasting();
  encoder()->encodeStatus = -12905;
  world.log.clear();
  castFrame();
  encoder()->encodeStatus = 0;
  castFrame();
  const auto lost = encoder()->frames.at(0).value;
  EXPECT_EQ(encoder()->frames.at(1).value, lost + 1);
  EXPECT_EQ(display->ackedSamples(), 4);
  EXPECT_EQ(display->statistics().framesEncoded, 1);
  EXPECT_THAT(world.log.lines(), ElementsAre(kOutput + ": error encoding frame " +
                                             std::to_string(lost) + ". status: -12905"));
}

TEST_F(DisplayVideoTest, AFrameWithoutAnEncoderIsOneThatCannotBeEncoded) {
  startUntilCasting();
  castFrame();
  const auto last = encoder()->frames.at(0).value;
  display = TSLDisplayConnection::initWithHub(session);
  startUntilConnecting();
  world.log.clear();
  display->sampleBufferDispatchQueue()->async([this] {
    display->didOutputSampleBuffer({std::make_shared<platform::PixelBuffer>(), {}});
  });
  world.run();
  EXPECT_EQ(display->ackedSamples(), 5);
  EXPECT_THAT(world.log.lines(), ElementsAre(kOutput + ": error encoding frame " +
                                             std::to_string(last + 1) + ". status: -12903"));
}

TEST_F(DisplayVideoTest, AfterSixLossesOnlyAnAcknowledgementBringsFramesBack) {
  startUntilCasting();
  encoder()->encodeStatus = -12905;
  for (int i = 0; i < 6; ++i) castFrame();
  encoder()->encodeStatus = 0;
  castFrame();
  EXPECT_EQ(encoder()->frames.size(), 6U);
  EXPECT_TRUE(capture()->running);
  hubSends(kAcknowledgement);
  castFrame();
  EXPECT_EQ(encoder()->frames.size(), 7U);
}

TEST_F(DisplayVideoTest, ALateFrameIsLoggedByNameOnly) {
  startUntilCasting();
  world.log.clear();
  capture()->drop();
  world.run();
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLDisplayConnection "
                                             "captureOutput:didDropSampleBuffer:fromConnection:]"));
  EXPECT_EQ(display->statistics().framesDropped, 1);
  EXPECT_EQ(display->ackedSamples(), 6);
}

// The encoder's output.

TEST_F(DisplayVideoTest, AFailedCompressionIsLoggedWithWhetherTheFrameWasDropped) {
  startUntilCasting();
  const std::size_t before = connection()->sends.size();
  world.log.clear();
  auto frame = std::make_shared<FakeEncodedSampleBuffer>();
  frame->units = std::vector<Bytes>{Bytes{0x41}};
  encoder()->output(-12909, 0x2, frame);
  encoder()->output(-12909, 0x1, frame);
  world.run();
  EXPECT_THAT(world.log.lines(),
              ElementsAre(kCompressed + ": Compression failed. status: -12909, frame dropped: YES",
                          kCompressed + ": Compression failed. status: -12909, frame dropped: NO"));
  EXPECT_EQ(connection()->sends.size(), before);
}

TEST_F(DisplayVideoTest, ASuccessWithoutAFrameIsLogged) {
  startUntilCasting();
  world.log.clear();
  encoder()->output(0, 0, nullptr);
  world.run();
  EXPECT_THAT(world.log.lines(),
              ElementsAre(kCompressed + ": Successful status but NULL sampleBuffer!"));
  EXPECT_EQ(display->statistics().framesEncoded, 0);
}

TEST_F(DisplayVideoTest, AFrameThatTheEncoderDropsCostsItsCredit) {
  startUntilCasting();
  encoder()->automaticOutput = false;
  castFrame();
  const std::size_t before = connection()->sends.size();
  encoder()->output(0, platform::kInfoFrameDropped, nullptr);
  world.run();
  EXPECT_EQ(connection()->sends.size(), before);
  EXPECT_EQ(display->ackedSamples(), 5);
}

TEST_F(DisplayVideoTest, AFrameThatCannotBeConvertedIsNotSentAndKeepsItsCredit) {
  startUntilCasting();
  encoder()->automaticOutput = false;
  castFrame();
  const std::size_t before = connection()->sends.size();
  encoder()->output(0, 0, brokenFrame());
  world.run();
  EXPECT_EQ(connection()->sends.size(), before);
  EXPECT_EQ(display->ackedSamples(), 5);
}

TEST_F(DisplayVideoTest, FramesAreConvertedButNotSentOnceTheChannelIsLost) {
  startUntilCasting();
  connection()->enterState(platform::ConnectionState::kFailed);
  world.run();
  const std::size_t before = connection()->sends.size();
  castFrame();
  EXPECT_EQ(display->statistics().framesEncoded, 1);
  EXPECT_EQ(connection()->sends.size(), before);
  EXPECT_EQ(display->ackedSamples(), 5);

  world.log.clear();
  encoder()->output(0, 0, brokenFrame());
  world.run();
  EXPECT_THAT(world.log.lines(),
              ElementsAre("-[TSLDisplayConnection elementaryStreamFromSampleBuffer:]: "
                          "Failed to get block buffer data pointer. status: -1"));
}

TEST_F(DisplayVideoTest, StatesAndReceivesRunOnTheSocketQueueAndFramesOnTheSampleQueue) {
  startUntilCasting();
  hubSends({4, 0, 0x90, 0});
  capture()->drop();
  capture()->deliver({});
  encoder()->output(0, 0, nullptr);
  connection()->deliver({20, 0, 0x90, 0});
  connection()->close();
  world.run();
  const std::string socket = display->socketDispatchQueue()->label();
  const std::string sample = display->sampleBufferDispatchQueue()->label();
  const std::string opening = "-[TSLDisplayConnection startDisplaySocketReturningError:]";
  const std::string receive = "-[TSLDisplayConnection doReceive:]_block_invoke";
  EXPECT_THAT(world.log.queuesOf(opening + ": "), ElementsAre("URL session"));
  EXPECT_THAT(world.log.queuesOf(opening + "_block_invoke: "), ElementsAre(socket));
  EXPECT_THAT(world.log.queuesOf(receive + ": "), ElementsAre(socket));
  EXPECT_THAT(world.log.queuesOf(receive + "_2: "), ElementsAre(socket));
  EXPECT_THAT(world.log.queuesOf(kOutput + ": "), ElementsAre(sample));
  EXPECT_THAT(world.log.queuesOf("-[TSLDisplayConnection "
                                 "captureOutput:didDropSampleBuffer:fromConnection:]"),
              ElementsAre(sample));
  EXPECT_THAT(world.log.queuesOf(kCompressed + ": "), ElementsAre("encoder callback"));
}

TEST_F(DisplayVideoTest, TheTimeInTheEncoderIsAddedUp) {
  startUntilCasting();
  encoder()->automaticOutput = false;
  castFrame();
  world.advance(12ms);
  encoder()->output(0, 0, nullptr);
  world.run();
  EXPECT_DOUBLE_EQ(display->statistics().encodeSeconds, 0.012);
}

}  // namespace
}  // namespace tessel::test
