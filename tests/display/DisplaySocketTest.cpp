#include <cerrno>

#include "tessel/Constants.h"
#include "tessel/DisplayMessages.h"
#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using platform::ConnectionState;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

const std::string kStart = "-[TSLDisplayConnection startDisplaySocketReturningError:]";
const std::string kState = kStart + "_block_invoke";

class DisplaySocketTest : public DisplayTest {
 protected:
  // The lines of the start and its states.
  std::vector<std::string> lines() { return world.log.startingWith(kStart); }
};

Bytes contextRequest(std::uint32_t width, std::uint32_t height) {
  H264ContextRequestMsg message;
  DefaultH264ContextRequestMsg(message);
  SetH264ContextRequestMsgResolution(message, width, height, 12);
  return {message.begin(), message.end()};
}

TEST_F(DisplaySocketTest, AFreshConnectionHasNothingButItsQueues) {
  EXPECT_EQ(display->hub(), session);
  EXPECT_EQ(display->HubConnection(), nullptr);
  EXPECT_FALSE(display->connected());
  EXPECT_FALSE(display->terminateAccidentally());
  EXPECT_EQ(display->ackedSamples(), 0);
  EXPECT_EQ(display->connectionRetries(), 0);
  EXPECT_EQ(display->socketDispatchSource(), nullptr);
  EXPECT_EQ(display->readBuffer().size(), 20000U);
  EXPECT_EQ(display->readBufferOffset() + display->readBufferLength(), 0U);
  EXPECT_TRUE(display->socketDispatchQueue()->label().ends_with(".displaySocket"));
  EXPECT_TRUE(display->sampleBufferDispatchQueue()->label().ends_with(".sampleBuffer"));
}

TEST_F(DisplaySocketTest, AStartGoesThroughItsStepsInOrder) {
  startUntilNegotiating();
  EXPECT_THAT(outcomes, IsEmpty());
  EXPECT_FALSE(capture()->running);
  hubSends(kContextResponse);
  EXPECT_THAT(outcomes, ElementsAre(std::nullopt));
  EXPECT_TRUE(outcomeOnSocketQueue);
  EXPECT_TRUE(display->connected());
  EXPECT_TRUE(capture()->running);
  EXPECT_THAT(lines(), ElementsAre(kState + ": nw_connection_state_ready",
                                   kStart + ": Socket Connected, resuming main thread",
                                   kStart + ": Sending New StartCommand",
                                   kStart + ": Sending Context Request"));
  EXPECT_THAT(connection()->sends,
              ElementsAre(Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0}, contextRequest(1920, 1080)));
}

TEST_F(DisplaySocketTest, TheOldProtocolHasItsOwnStartCommand) {
  session->setNewProtocol(false);
  startUntilNegotiating();
  EXPECT_EQ(connection()->sends.at(0), (Bytes{4, 0, 0, 0}));
  EXPECT_TRUE(world.log.has(kStart + ": Sending old Start Command"));
}

TEST_F(DisplaySocketTest, TheConnectionStartsAfterAPauseOf2Seconds) {
  start();
  answerLaunch();
  ASSERT_NE(connection(), nullptr);
  EXPECT_EQ(display->HubConnection(), connection());
  world.advance(1999ms);
  EXPECT_FALSE(connection()->started);
  EXPECT_EQ(connection()->receives, 0);
  EXPECT_EQ(display->ackedSamples(), 6);
  world.advance(1ms);
  EXPECT_TRUE(connection()->started);
  EXPECT_EQ(connection()->receives, 1);
}

TEST_F(DisplaySocketTest, TheChannelGoesToTheHubsDisplayPort) {
  start();
  answerLaunch();
  EXPECT_EQ(connection()->endpoint.host, "10.0.0.7");
  EXPECT_EQ(connection()->endpoint.port, "1494");
  EXPECT_FALSE(connection()->tls);
}

TEST_F(DisplaySocketTest, ThePortIsReadAfreshAtEachStart) {
  TSLDisplayConnectorDefaultPort = "4911";
  start();
  answerLaunch();
  TSLDisplayConnectorDefaultPort = "1494";
  EXPECT_EQ(connection()->endpoint.port, "4911");
}

TEST_F(DisplaySocketTest, TheChannelUsesTLSWhenTheHubAsksForIt) {
  session->setSslEnabled(true);
  session->setLauchport(443);
  start();
  answerLaunch();
  EXPECT_TRUE(connection()->tls);
  EXPECT_EQ(connection()->endpoint.port, "1494");
}

TEST_F(DisplaySocketTest, ASessionWithoutAHostNameEndsTheStartWithCode2) {
  session = TSLSession::initWithHostName(std::nullopt, 0);
  display = TSLDisplayConnection::initWithHub(session);
  start();
  answerLaunch();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(2))));
  EXPECT_TRUE(world.log.has(kStart + ": hostName is NULL!"));
  EXPECT_TRUE(world.network.connections.empty());
}

TEST_F(DisplaySocketTest, ASessionThatIsGoneEndsTheStartWithCode2) {
  start();
  session.reset();
  answerLaunch();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(2))));
}

TEST_F(DisplaySocketTest, AHubThatRefusesEndsTheStartWithCode3AfterAbout2Seconds) {
  world.network.onStart = [](SimConnection& made) { made.refuse(); };
  start();
  answerLaunch();
  const auto before = world.scheduler.uptime();
  world.advance(1999ms);
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(1ms);
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
  EXPECT_EQ(world.scheduler.uptime() - before, 2s);
  const auto waiting = lines();
  ASSERT_EQ(waiting.size(), 4U);
  EXPECT_TRUE(waiting[0].starts_with(kState + ": nw_connection_state_waiting, errno: "));
  EXPECT_EQ(waiting[1], kState + ": closing due to refused connection");
  // The start goes on at the refusal, while the failure comes on its own queue.
  EXPECT_THAT(waiting, Contains(kState + ": nw_connection_state_failed"));
  EXPECT_THAT(waiting, Contains(kStart + ": Socket Connected, resuming main thread"));
  EXPECT_THAT(connection()->sends, IsEmpty());
}

TEST_F(DisplaySocketTest, ARefusalEndsTheStartBeforeTheConnectionHasFailed) {
  startUntilConnecting();
  connection()->enterState(ConnectionState::kWaiting,
                           Error{platform::kNetworkErrorDomain, platform::kConnectionRefused, ""});
  world.run();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
}

TEST_F(DisplaySocketTest, AStateThatComesBeforeTheWaitIsNotLost) {
  world.network.onStart = [](SimConnection& made) { made.becomeReady(); };
  startUntilConnecting();
  EXPECT_TRUE(display->connected());
  EXPECT_EQ(connection()->sends.size(), 2U);
}

TEST_F(DisplaySocketTest, TheWaitingLineTellsTheThreadsErrnoNotTheConnectionsCode) {
  startUntilConnecting();
  display->socketDispatchQueue()->async([] { errno = 4711; });
  connection()->enterState(ConnectionState::kWaiting,
                           Error{platform::kNetworkErrorDomain, 51, "Network unreachable"});
  world.run();
  EXPECT_THAT(lines(), ElementsAre(kState + ": nw_connection_state_waiting, errno: 4711"));
}

TEST_F(DisplaySocketTest, OtherWaitingConditionsKeepTheStartWaiting) {
  startUntilConnecting();
  connection()->enterState(ConnectionState::kWaiting,
                           Error{platform::kNetworkErrorDomain, 51, "Network unreachable"});
  connection()->enterState(ConnectionState::kPreparing);
  connection()->enterState(ConnectionState::kInvalid);
  world.advance(3600s);
  EXPECT_THAT(outcomes, IsEmpty());
  EXPECT_EQ(lines().size(), 1U);
  connection()->enterState(ConnectionState::kFailed);
  world.run();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
}

TEST_F(DisplaySocketTest, ACancelledConnectionEndsTheStartWithCode3) {
  startUntilConnecting();
  connection()->cancel();
  world.run();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
  EXPECT_TRUE(world.log.has(kCancelled));
}

TEST_F(DisplaySocketTest, AHubThatNeverAnswersTheContextRequestEndsTheStartWithCode7After5Seconds) {
  startUntilNegotiating();
  world.advance(4999ms);
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(1ms);
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(7))));
  EXPECT_EQ(lines().back(), kStart + ": Timed out waiting for display connector to initialize!");
  EXPECT_FALSE(connection()->cancelled);
  EXPECT_TRUE(display->connected());
  EXPECT_EQ(capture()->starts, 0);
}

TEST_F(DisplaySocketTest, TheRequestCarriesTheTruncatedSessionSize) {
  session->sessionConfig()->setSessionSize({1279.9, 720.7});
  startUntilNegotiating();
  EXPECT_EQ(connection()->sends.at(1), contextRequest(1279, 720));
  EXPECT_EQ(encoder()->width, 1279);
  EXPECT_EQ(encoder()->height, 720);
  EXPECT_EQ(capture()->output.size, (Size{1279.9, 720.7}));
}

TEST_F(DisplaySocketTest, ASessionSizeOf0By0FailsAtTheCaptureStep) {
  session->sessionConfig()->setSessionSize({});
  startUntilNegotiating();
  EXPECT_THAT(outcomes, ElementsAre(Optional(Error{"AVFoundationErrorDomain", -11800, ""})));
  EXPECT_THAT(connection()->sends, ElementsAre(Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0}));
  EXPECT_EQ(display->captureSession(), nullptr);
  EXPECT_TRUE(
      world.log.has("-[TSLDisplayConnection screenCaptureSessionWithSize:error:]: "
                    "Cannot add AVCaptureVideoDataOutput to capture session!"));
}

TEST_F(DisplaySocketTest, ACaptureThatCannotBeMadeEndsTheStartWithItsError) {
  world.capture.inputAccepted = false;
  startUntilNegotiating();
  EXPECT_THAT(outcomes, ElementsAre(Optional(Error{"AVFoundationErrorDomain", -11800, ""})));
  EXPECT_EQ(encoder(), nullptr);
}

TEST_F(DisplaySocketTest, AnEncoderThatCannotBeMadeEndsTheStartWithItsError) {
  world.encoding.createStatus = -12903;
  startUntilNegotiating();
  EXPECT_THAT(
      outcomes,
      ElementsAre(Optional(Error{"NSOSStatusErrorDomain", -12903, "encoder status -12903"})));
  EXPECT_EQ(connection()->sends.size(), 1U);
}

// A channel whose sends fail from a given one on.
class DeafChannel final : public DisplayChannel {
 public:
  DeafChannel(const std::shared_ptr<TSLSession>& hub, int deafAfter)
      : DisplayChannel{hub}, left_{deafAfter} {}

  bool sendBuffer(const void*, std::size_t) override { return left_-- > 0; }

 private:
  int left_;
};

class DeafConnection final : public TSLDisplayConnection {
 public:
  DeafConnection(const std::shared_ptr<TSLSession>& hub, int deafAfter)
      : TSLDisplayConnection{hub, std::make_shared<DeafChannel>(hub, deafAfter)} {}
};

TEST_F(DisplaySocketTest, AFailedStartCommandEndsTheStartWithCode3) {
  display = std::make_shared<DeafConnection>(session, 0);
  startUntilNegotiating();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
  EXPECT_EQ(capture(), nullptr);
}

TEST_F(DisplaySocketTest, AFailedContextRequestEndsTheStartWithCode3) {
  display = std::make_shared<DeafConnection>(session, 1);
  startUntilNegotiating();
  EXPECT_THAT(outcomes, ElementsAre(Optional(sessionError(3))));
  EXPECT_NE(encoder(), nullptr);
}

// The opening by itself, on a thread that it may block.
class DisplayOpeningTest : public DisplayTest {
 protected:
  void open() {
    caller->async([this] { result = display->startDisplaySocketReturningError(error); });
    world.advance(2s);
  }

  const std::shared_ptr<platform::SerialQueue> caller =
      platform::services().queues->makeSerialQueue("caller");
  std::optional<bool> result;
  std::optional<Error> error;
};

TEST_F(DisplayOpeningTest, TheOpeningReturnsYes) {
  open();
  connection()->becomeReady();
  world.run();
  EXPECT_EQ(result, std::nullopt);
  hubSends(kContextResponse);
  EXPECT_THAT(result, Optional(true));
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(DisplayOpeningTest, TheOpeningReturnsNoWithItsError) {
  open();
  connection()->refuse();
  world.run();
  EXPECT_THAT(result, Optional(false));
  EXPECT_THAT(error, Optional(sessionError(3)));

  open();
  connection()->becomeReady();
  world.advance(5s);
  EXPECT_THAT(result, Optional(false));
  EXPECT_THAT(error, Optional(sessionError(7)));

  world.capture.outputAccepted = false;
  open();
  connection()->becomeReady();
  world.run();
  EXPECT_THAT(result, Optional(false));
  EXPECT_THAT(error, Optional(Error{"AVFoundationErrorDomain", -11800, ""}));

  display = TSLDisplayConnection::initWithHub(TSLSession::initWithHostName(std::nullopt, 0));
  open();
  EXPECT_THAT(result, Optional(false));
  EXPECT_THAT(error, Optional(sessionError(2)));
}

TEST_F(DisplaySocketTest, SendingCopiesTheBytesAndAlwaysSucceeds) {
  Bytes bytes = {1, 2, 3};
  EXPECT_TRUE(display->sendBuffer(bytes.data(), bytes.size()));
  startUntilCasting();
  EXPECT_TRUE(display->sendBuffer(bytes.data(), bytes.size()));
  bytes.assign(3, 0);
  EXPECT_EQ(connection()->sends.back(), (Bytes{1, 2, 3}));
  EXPECT_EQ(display->statistics().bytesSent, 9 + 228 + 3);
}

TEST_F(DisplaySocketTest, AFailureWhileCastingDropsConnectedAndNothingElse) {
  startUntilCasting();
  connection()->enterState(ConnectionState::kFailed);
  world.run();
  EXPECT_FALSE(display->connected());
  EXPECT_TRUE(capture()->running);
  EXPECT_FALSE(display->terminateAccidentally());
  EXPECT_EQ(outcomes.size(), 1U);
}

}  // namespace
}  // namespace tessel::test
