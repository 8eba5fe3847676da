#include "tessel/Log.h"
#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

const std::string kStop = "-[TSLDisplayConnection stopWithCompletionHandler:]: ENTER";

class DisplayStopTest : public DisplayTest {
 protected:
  void stop() {
    display->stopWithCompletionHandler(
        [this](const std::optional<Error>& error) { stops.push_back(error); });
  }

  std::vector<std::optional<Error>> stops;
};

TEST_F(DisplayStopTest, AStopEndsCaptureEncoderAndConnection) {
  startUntilCasting();
  world.log.clear();
  stop();
  EXPECT_THAT(stops, ElementsAre(Optional(sessionError(5))));
  EXPECT_FALSE(display->connected());
  EXPECT_FALSE(capture()->running);
  EXPECT_EQ(encoder()->invalidations, 1);
  EXPECT_TRUE(connection()->cancelled);
  EXPECT_THAT(world.log.lines(), ElementsAre(kStop));
}

TEST_F(DisplayStopTest, AStopEndsTheCaptureThenTheEncoderThenTheConnection) {
  startUntilCasting();
  // Shared: the encoder is ended once more when everything goes.
  const auto ended = std::make_shared<std::vector<std::string>>();
  capture()->onStop = [ended] { ended->emplace_back("capture"); };
  encoder()->onInvalidate = [ended] { ended->emplace_back("encoder"); };
  connection()->onCancel = [this, ended] {
    EXPECT_FALSE(display->connected());
    ended->emplace_back("connection");
  };
  stop();
  EXPECT_THAT(*ended, ElementsAre("capture", "encoder", "connection"));
}

TEST_F(DisplayStopTest, AStopSendsNothing) {
  startUntilCasting();
  const std::size_t sends = connection()->sends.size();
  stop();
  world.run();
  EXPECT_EQ(connection()->sends.size(), sends);
  EXPECT_EQ(world.http.requests.size(), 1U);
}

TEST_F(DisplayStopTest, ASecondStopOnlyLogsAndCallsItsHandler) {
  startUntilCasting();
  stop();
  stop();
  EXPECT_THAT(stops, ElementsAre(Optional(sessionError(5)), Optional(sessionError(5))));
  EXPECT_EQ(capture()->stops, 1);
  EXPECT_EQ(encoder()->invalidations, 1);
}

TEST_F(DisplayStopTest, AStopOfAConnectionThatNeverConnectedOnlyLogsAndCallsItsHandler) {
  stop();
  EXPECT_THAT(world.log.lines(), ElementsAre(kStop));
  EXPECT_THAT(stops, ElementsAre(Optional(sessionError(5))));

  startUntilConnecting();
  world.log.clear();
  stop();
  EXPECT_FALSE(connection()->cancelled);
  EXPECT_THAT(world.log.lines(), ElementsAre(kStop));
  EXPECT_THAT(stops, ElementsAre(Optional(sessionError(5)), Optional(sessionError(5))));
}

TEST_F(DisplayStopTest, AStopMayDoWithoutAHandler) {
  startUntilCasting();
  display->stopWithCompletionHandler(nullptr);
  EXPECT_TRUE(connection()->cancelled);
}

TEST_F(DisplayStopTest, AfterALossAStopOnlyLogs) {
  startUntilCasting();
  connection()->enterState(platform::ConnectionState::kFailed);
  world.run();
  stop();
  EXPECT_EQ(capture()->stops, 0);
  EXPECT_EQ(encoder()->invalidations, 0);
  EXPECT_FALSE(connection()->cancelled);
}

TEST_F(DisplayStopTest, ItsDestructionStops) {
  startUntilCasting();
  world.log.clear();
  display.reset();
  EXPECT_THAT(world.log.lines(), ElementsAre(kStop));
  EXPECT_FALSE(capture()->running);
  EXPECT_TRUE(connection()->cancelled);
  world.run();
  EXPECT_EQ(encoder()->invalidations, 1);
}

TEST_F(DisplayStopTest, AStopsCancelIsLoggedEvenWhenTheConnectionIsGone) {
  startUntilCasting();
  stop();
  display.reset();
  world.log.clear();
  world.run();
  EXPECT_THAT(world.log.lines(), ElementsAre(kCancelled));
}

TEST_F(DisplayStopTest, AfterATimeOutItsDestructionEndsTheEncoderAndTheConnection) {
  startUntilNegotiating();
  world.advance(5s);
  display.reset();
  world.run();
  EXPECT_EQ(encoder()->invalidations, 1);
  EXPECT_TRUE(connection()->cancelled);
}

TEST_F(DisplayStopTest, AfterALossItsDestructionStillEndsTheEncoder) {
  startUntilCasting();
  connection()->enterState(platform::ConnectionState::kFailed);
  world.run();
  display.reset();
  world.run();
  EXPECT_EQ(encoder()->invalidations, 1);
}

// Stops while a start is under way.

TEST_F(DisplayStopTest, AStopBeforeTheHubAnswersEndsAHangingStartWithin5Seconds) {
  startUntilConnecting();
  stop();
  world.advance(4s);
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(1s);
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
  EXPECT_TRUE(connection()->cancelled);
}

TEST_F(DisplayStopTest, AStopDuringTheLaunchEndsAHangingStartToo) {
  start();
  stop();
  answerLaunch();
  world.advance(7s);
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
}

TEST_F(DisplayStopTest, AStopBeforeTheHubAnswersLetsAPromptStartSucceed) {
  startUntilConnecting();
  stop();
  world.advance(4s);
  connection()->becomeReady();
  world.run();
  hubSends(kContextResponse);
  EXPECT_THAT(outcomes, ElementsAre(std::nullopt));
  EXPECT_TRUE(capture()->running);
}

TEST_F(DisplayStopTest, AStopDuringTheNegotiationEndsTheStartWithCode7) {
  startUntilNegotiating();
  stop();
  EXPECT_TRUE(connection()->cancelled);
  world.advance(5s);
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(7))));
  EXPECT_EQ(capture()->starts, 0);
}

TEST_F(DisplayStopTest, AStopThatMeetsTheContextResponseLeavesNothingRunning) {
  startUntilNegotiating();
  connection()->deliver(kContextResponse);
  stop();
  world.run();
  EXPECT_FALSE(capture()->running);
}

TEST_F(DisplayStopTest, AStartAfterAStopWaitsForItsOwnChannel) {
  startUntilCasting();
  stop();
  world.run();
  startUntilConnecting();
  world.advance(3600s);
  EXPECT_EQ(outcomes.size(), 1U);
  connection()->becomeReady();
  world.run();
  hubSends(kContextResponse);
  EXPECT_THAT(outcomes, ElementsAre(std::nullopt, std::nullopt));
  EXPECT_EQ(display->ackedSamples(), 6);
  EXPECT_TRUE(capture()->running);
}

TEST_F(DisplayStopTest, AStartThatIsDroppedRunsToItsEndAndIsGone) {
  start();
  const std::weak_ptr<TSLDisplayConnection> weak = display;
  display.reset();
  answerLaunch();
  world.advance(2s);
  EXPECT_FALSE(weak.expired());
  connection()->becomeReady();
  world.run();
  connection()->deliver(kContextResponse);
  world.run();
  EXPECT_THAT(outcomes, ElementsAre(std::nullopt));
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(connection()->cancelled);
  EXPECT_FALSE(capture()->running);
}

TEST_F(DisplayStopTest, ALastReferenceMayGoInTheEncodersCallback) {
  startUntilCasting();
  encoder()->automaticOutput = false;
  castFrame();
  encoder()->output(0, 0, nullptr);
  bool invalidatedInCallback = true;
  setLogSink([&](std::string_view line) {
    if (!line.ends_with("NULL sampleBuffer!")) return;
    display.reset();
    invalidatedInCallback = encoder()->invalidations > 0;
  });
  world.run();
  setLogSink(nullptr);
  EXPECT_EQ(display, nullptr);
  EXPECT_FALSE(invalidatedInCallback);
  EXPECT_EQ(encoder()->invalidations, 1);
}

// Side by side.

TEST_F(DisplayStopTest, TwoSessionsCastSideBySideAndShareTheFrameNumbers) {
  startUntilCasting();
  const auto firstConnection = connection();
  const auto firstEncoder = encoder();
  const auto firstCapture = capture();
  const auto firstDisplay = display;
  const auto firstSession = session;

  session = TSLSession::initWithHostName("10.0.0.8", 0);
  session->setApplicationURL("http://10.0.0.8:55555/apps/");
  display = TSLDisplayConnection::initWithHub(session);
  startUntilCasting();
  EXPECT_EQ(connection()->endpoint.host, "10.0.0.8");

  firstCapture->deliverPicture();
  world.run();
  castFrame();
  firstCapture->deliverPicture();
  world.run();
  ASSERT_EQ(firstEncoder->frames.size(), 2U);
  ASSERT_EQ(encoder()->frames.size(), 1U);
  const auto first = firstEncoder->frames[0].value;
  EXPECT_EQ(encoder()->frames[0].value, first + 1);
  EXPECT_EQ(firstEncoder->frames[1].value, first + 2);

  hubSends(kAcknowledgement);
  EXPECT_EQ(display->ackedSamples(), 6);
  EXPECT_EQ(firstDisplay->ackedSamples(), 4);

  stop();
  EXPECT_TRUE(firstDisplay->connected());
  EXPECT_TRUE(firstCapture->running);
  EXPECT_FALSE(firstConnection->cancelled);
}

TEST_F(DisplayStopTest, TheFrameNumbersContinueAcrossConnections) {
  startUntilCasting();
  castFrame();
  const auto last = encoder()->frames.back().value;
  stop();
  display = TSLDisplayConnection::initWithHub(session);
  startUntilCasting();
  castFrame();
  EXPECT_EQ(encoder()->frames.at(0).value, last + 1);
}

}  // namespace
}  // namespace tessel::test
