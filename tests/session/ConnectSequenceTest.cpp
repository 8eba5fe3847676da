// The way from state 0 to state 2, step by step, and every way off it.
#include "platform/Queues.h"
#include "session/ConnectSequence.h"
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class ConnectSequenceTest : public SessionFixture {
 protected:
  // Lines of the sequence itself.
  std::vector<std::string> sequence() const {
    return world.log.startingWith("-[TSLSession connect]");
  }

  void expectAborted(const Error& error) {
    EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
    EXPECT_EQ(session->mouseConnection(), nullptr);
    EXPECT_EQ(session->keyBoardConnection(), nullptr);
    EXPECT_EQ(session->displayConnection(), nullptr);
    ASSERT_EQ(delegate->calls.size(), 3U);
    EXPECT_EQ(delegate->calls[0], "state 1");
    EXPECT_EQ(delegate->calls[1], "state 0");
    EXPECT_THAT(delegate->errors, ElementsAre(error));
  }

  void expectNothingIsTriedAgain() {
    const auto requests = world.http.requests.size();
    const auto connections = world.network.connections.size();
    world.advance(60s);
    EXPECT_EQ(world.http.requests.size(), requests);
    EXPECT_EQ(world.network.connections.size(), connections);
  }
};

TEST_F(ConnectSequenceTest, AllStepsInOrderEndInState2) {
  session->connect();
  EXPECT_EQ(session->state(), TSLSessionStateConnecting);
  EXPECT_EQ(world.http.last()->request.url, "http://10.0.0.7:55555/device-details.xml");
  EXPECT_EQ(world.http.last()->request.method, "GET");
  EXPECT_EQ(world.http.last()->timeout, 60s);

  hub.takeDisplay();
  EXPECT_EQ(world.http.last()->request.url, "http://10.0.0.7:8008/apps/CasterApp");
  EXPECT_EQ(world.http.last()->request.method, "POST");
  EXPECT_EQ(hub.display->endpoint.host, "10.0.0.7");
  EXPECT_NE(session->mouseConnection(), nullptr);
  EXPECT_EQ(session->keyBoardConnection(), nullptr);

  hub.takeMouse();
  EXPECT_NE(session->keyBoardConnection(), nullptr);
  EXPECT_EQ(session->state(), TSLSessionStateConnecting);

  hub.takeKeyBoard();
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2"));
  EXPECT_THAT(
      world.log.startingWith("-[TSLSession "),
      ElementsAre(
          "-[TSLSession setState:]: ENTER, State: 1", "-[TSLSession setState:]: EXIT",
          "-[TSLSession fetchDeviceDetailsWithCompletionHandler:]: ENTER/EXIT",
          "-[TSLSession deviceDetailsURL]: ENTER/EXIT",
          "-[TSLSession connect]_block_invoke: Starting display connection",
          "-[TSLSession connect]_block_invoke_2: Display connected, starting mouse connection",
          "-[TSLSession connect]_block_invoke_3: Mouse connected, starting keyboard connection",
          "-[TSLSession connect]_block_invoke_4: Keyboard connected, starting heartbeat timer",
          "-[TSLSession setState:]: ENTER, State: 2", "-[TSLSession setState:]: EXIT",
          "-[TSLSession HeartBeatfunc]: ENTER/EXIT"));
}

TEST_F(ConnectSequenceTest, ChannelsHoldTheSessionWeakly) {
  bringUp();
  EXPECT_EQ(session->displayConnection()->hub(), session);
  EXPECT_EQ(session->mouseConnection()->hub(), session);
  EXPECT_EQ(session->keyBoardConnection()->hub(), session);
  EXPECT_EQ(session.use_count(), 1);
}

TEST_F(ConnectSequenceTest, FailedDeviceDetailsEndItWithTheirError) {
  hub.answersDetails = false;
  session->connect();
  const Error error{platform::kURLErrorDomain, 7, "Could not connect to the server."};
  world.http.last()->fail(error);
  world.run();
  expectAborted(error);
  EXPECT_THAT(sequence(),
              ElementsAre("-[TSLSession connect]_block_invoke: Failed to retrieve connection "
                          "details, aborting"));
  EXPECT_THAT(world.network.connections, IsEmpty());
}

TEST_F(ConnectSequenceTest, ASilentHubEndsItWithTheTransfersTimeOut) {
  hub.answersDetails = false;
  session->connect();
  world.advance(59s);
  EXPECT_EQ(session->state(), TSLSessionStateConnecting);
  world.advance(1s);
  expectAborted({platform::kURLErrorDomain, 28, "The request timed out."});
}

TEST_F(ConnectSequenceTest, ABusyHubEndsItWithCode9) {
  hub.details = "<d><specVersion>1.5</specVersion><busy>1</busy></d>";
  session->connect();
  world.run();
  expectAborted({TSLErrorDomain, 9, "Hub is busy and is not able to accept new casting sessions."});
}

TEST_F(ConnectSequenceTest, AFailedLaunchEndsItWithTheTransfersError) {
  hub.answersLaunch = false;
  session->connect();
  world.run();
  const Error error{platform::kURLErrorDomain, 56, "The connection was reset."};
  world.http.last()->fail(error);
  world.run();
  expectAborted(error);
  EXPECT_EQ(sequence().back(),
            "-[TSLSession connect]_block_invoke_2: Display connection failed, aborting connection");
}

TEST_F(ConnectSequenceTest, ARefusedDisplayChannelEndsItWithCode3) {
  session->connect();
  world.run();
  world.advance(2s);
  world.network.last()->refuse();
  world.run();
  expectAborted({TSLErrorDomain, 3, ""});
}

TEST_F(ConnectSequenceTest, AFailedMouseChannelEndsItWithCode3) {
  session->connect();
  hub.takeDisplay();
  world.network.last()->refuse();
  world.run();
  expectAborted({TSLErrorDomain, 3, ""});
  EXPECT_EQ(sequence().back(),
            "-[TSLSession connect]_block_invoke_3: Mouse connection failed, aborting connection");
}

TEST_F(ConnectSequenceTest, AFailedStepDropsTheChannelsMadeSoFar) {
  session->connect();
  hub.takeDisplay();
  const std::weak_ptr<TSLDisplayConnection> display = session->displayConnection();
  const std::weak_ptr<TSLMouseConnection> mouse = session->mouseConnection();
  world.network.last()->refuse();
  world.run();
  world.advance(25ms);  // the cursor timer, which holds its connection, finds it dropped
  EXPECT_TRUE(display.expired());
  EXPECT_TRUE(mouse.expired());
  EXPECT_TRUE(hub.display->cancelled);
}

TEST_F(ConnectSequenceTest, AFailedStepLetsItsChannelsGoBeforeTheDelegateHearsOfIt) {
  session->connect();
  hub.takeDisplay();
  ASSERT_NE(session->displayConnection(), nullptr);
  ASSERT_NE(session->mouseConnection(), nullptr);
  delegate->onState = [this](std::int64_t) {
    EXPECT_EQ(session->displayConnection(), nullptr);
    EXPECT_EQ(session->mouseConnection(), nullptr);
  };
  world.log.clear();
  world.network.last()->refuse();
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 3"));
  EXPECT_THAT(
      world.log.startingWith("-[TSLSession "),
      ElementsAre(
          "-[TSLSession connect]_block_invoke_3: Mouse connection failed, aborting connection",
          "-[TSLSession setState:]: ENTER, State: 0", "-[TSLSession setState:]: EXIT",
          "-[TSLSession notifyConnectionDidFailWithError:]: ENTER"));
}

TEST_F(ConnectSequenceTest, AFailedStepIsNeverTriedAgain) {
  const Error reset{platform::kURLErrorDomain, 56, "The connection was reset."};
  hub.answersDetails = false;
  session->connect();
  world.http.last()->fail(reset);
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 56"));
  expectNothingIsTriedAgain();

  hub.answersDetails = true;
  hub.answersLaunch = false;
  delegate->calls.clear();
  session->connect();
  world.run();
  EXPECT_EQ(world.http.last()->request.method, "POST");
  world.http.last()->fail(reset);
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 56"));
  expectNothingIsTriedAgain();

  hub.answersLaunch = true;
  delegate->calls.clear();
  session->connect();
  world.run();
  world.advance(2s);
  world.network.last()->refuse();
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 3"));
  expectNothingIsTriedAgain();
}

TEST_F(ConnectSequenceTest, AFailedDropIsNoDisconnect) {
  session->connect();
  hub.takeDisplay();
  world.network.last()->refuse();
  world.run();
  EXPECT_THAT(world.log.startingWith("-[TSLSession disconnect]"), IsEmpty());
}

TEST_F(ConnectSequenceTest, ARefusedKeyboardChannelReadsAsSuccess) {
  session->connect();
  hub.takeDisplay();
  hub.takeMouse();
  world.network.last()->refuse();
  world.run();
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  EXPECT_FALSE(session->keyBoardConnection()->connected());
}

TEST_F(ConnectSequenceTest, AFailedKeyboardChannelEndsItWithItsError) {
  session->connect();
  hub.takeDisplay();
  hub.takeMouse();
  const Error error{TSLErrorDomain, 2, ""};
  finishConnecting(session, error);
  expectAborted(error);
  EXPECT_EQ(
      sequence().back(),
      "-[TSLSession connect]_block_invoke_4: Keyboard connection failed, aborting connection");
}

TEST_F(ConnectSequenceTest, AFailedStepDropsMouseThenKeyboardThenDisplay) {
  session->connect();
  hub.takeDisplay();
  hub.takeMouse();
  hub.takeKeyBoard();
  int looks = 0;
  hub.keyBoard->onCancel = [&] {
    ++looks;
    EXPECT_EQ(session->mouseConnection(), nullptr);
    EXPECT_EQ(session->keyBoardConnection(), nullptr);
    EXPECT_NE(session->displayConnection(), nullptr);
  };
  hub.display->onCancel = [&] {
    ++looks;
    EXPECT_EQ(session->mouseConnection(), nullptr);
    EXPECT_EQ(session->keyBoardConnection(), nullptr);
    EXPECT_EQ(session->displayConnection(), nullptr);
  };
  finishConnecting(session, Error{TSLErrorDomain, 2, ""});
  world.run();
  EXPECT_EQ(looks, 2);
}

TEST_F(ConnectSequenceTest, ASessionWithoutAHostNameEndsWithCode2) {
  const auto nameless = TSLSession::initWithHostName(std::nullopt, 0);
  nameless->setDelegate(delegate, nullptr);
  nameless->connect();
  EXPECT_EQ(world.http.last()->request.url, "http://(null):55555/device-details.xml");
  world.advance(10s);
  EXPECT_THAT(delegate->errors, ElementsAre(Error{TSLErrorDomain, 2, ""}));
  EXPECT_EQ(nameless->state(), TSLSessionStateDisconnected);
}

TEST_F(ConnectSequenceTest, AMouseChannelThatFailsTwiceIsActedOnOnce) {
  session->connect();
  hub.takeDisplay();
  const auto mouse = world.network.last();
  mouse->becomeReady();
  world.run();
  mouse->breakWith({platform::kNetworkErrorDomain, 54, "Connection reset"});
  mouse->enterState(platform::ConnectionState::kFailed);
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 3"));
}

TEST_F(ConnectSequenceTest, ConnectInState1Or2LogsAndDoesNothing) {
  session->connect();
  delegate->calls.clear();
  session->connect();
  EXPECT_TRUE(world.log.has(
      "-[TSLSession connect]: called while already connected or connecting. state: 1"));
  EXPECT_THAT(delegate->calls, IsEmpty());
  EXPECT_EQ(world.http.requests.size(), 1U);

  hub.takeChannels();
  delegate->calls.clear();
  const auto requests = world.http.requests.size();
  session->connect();
  EXPECT_TRUE(world.log.has(
      "-[TSLSession connect]: called while already connected or connecting. state: 2"));
  EXPECT_THAT(delegate->calls, IsEmpty());
  EXPECT_EQ(world.http.requests.size(), requests);
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
}

TEST_F(ConnectSequenceTest, ASecondConnectAfterDisconnectRunsWithoutAHeartbeat) {
  bringUp();
  world.run();
  EXPECT_EQ(hub.polls().size(), 1U);
  session->disconnect();
  delegate->calls.clear();
  bringUp();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2"));
  world.advance(60s);
  EXPECT_EQ(hub.polls().size(), 1U);
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
}

TEST_F(ConnectSequenceTest, AMultiTokenSessionPollsItsInstanceOnceTheKeyboardChannelIsUp) {
  hub.details = "<d><specVersion>1.6</specVersion></d>";
  hub.launchHeaders = {{"Location", "http://10.0.0.7:8008/apps/CasterApp/abc"}};
  session->connect();
  hub.takeDisplay();
  hub.takeMouse();
  EXPECT_EQ(session->applicationName(), "CasterApp");
  hub.takeKeyBoard();
  EXPECT_EQ(session->applicationName(), "CasterApp/abc");
  world.advance(5s);
  ASSERT_GE(hub.polls().size(), 2U);
  EXPECT_EQ(hub.polls().back()->request.url, "http://10.0.0.7:8008/apps/CasterApp/abc");
}

TEST_F(ConnectSequenceTest, AMultiTokenSessionWithoutAStopURLKeepsItsApplicationName) {
  hub.details = "<d><specVersion>1.6</specVersion></d>";
  session->connect();
  hub.takeDisplay();
  session->displayConnection()->setStopURL(std::nullopt);
  hub.takeMouse();
  hub.takeKeyBoard();
  EXPECT_EQ(session->applicationName(), "CasterApp");
}

TEST_F(ConnectSequenceTest, AStopURLOfOnePieceLeavesTheApplicationName) {
  hub.details = "<d><specVersion>1.6</specVersion></d>";
  hub.launchHeaders = {{"Location", "abc"}};
  bringUp();
  EXPECT_EQ(session->applicationName(), "CasterApp");
}

TEST_F(ConnectSequenceTest, AStopURLThatEndsInASlashAppendsTheSlash) {
  hub.details = "<d><specVersion>1.6</specVersion></d>";
  hub.launchHeaders = {{"Location", "http://10.0.0.7/apps/"}};
  bringUp();
  EXPECT_EQ(session->applicationName(), "CasterApp/");
}

TEST_F(ConnectSequenceTest, WithoutTheMultiTokenProtocolTheStopURLIsNotLookedAt) {
  hub.details = "<d><specVersion>1.5</specVersion></d>";
  hub.launchHeaders = {{"Location", "http://10.0.0.7:8008/apps/CasterApp/abc"}};
  bringUp();
  EXPECT_EQ(session->applicationName(), "CasterApp");
}

TEST_F(ConnectSequenceTest, TheOldProtocolUsesItsOwnPortsAndApplication) {
  hub.details = "<d><specVersion>1.3</specVersion></d>";
  bringUp();
  EXPECT_EQ(session->applicationName(), "ReceiverAppV1");
  EXPECT_EQ(hub.display->endpoint.port, "1494");
  EXPECT_EQ(hub.mouse->endpoint.port, "8500");
  EXPECT_EQ(hub.keyBoard->endpoint.port, "8500");
  EXPECT_FALSE(hub.display->tls);
}

TEST_F(ConnectSequenceTest, AHubThatAsksForTLSGetsItOnEveryChannel) {
  hub.details = "<d><specVersion>1.4</specVersion><SSL>443</SSL></d>";
  bringUp();
  EXPECT_TRUE(hub.display->tls);
  EXPECT_TRUE(hub.mouse->tls);
  EXPECT_TRUE(hub.keyBoard->tls);
  EXPECT_EQ(world.http.requests[1]->request.url, "https://10.0.0.7:443/apps/ReceiverAppV2");
}

TEST_F(ConnectSequenceTest, StatisticsAreThoseOfTheDisplayChannel) {
  EXPECT_EQ(session->statistics().credits, 0);
  bringUp();
  EXPECT_EQ(session->statistics().credits, 6);
  EXPECT_GT(session->statistics().bytesSent, 0);
}

}  // namespace
}  // namespace tessel::test
