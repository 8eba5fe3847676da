#include <cerrno>

#include "input/TSLMouseConnection.h"
#include "input/TSLMouseSimulator.h"
#include "tests/input/MouseConnectionFixture.h"

namespace tessel::test {
namespace {

using platform::ContentContext;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(TSLMouseConnectionTest, ANewConnectionTicksAndIsNotConnected) {
  EXPECT_EQ(mouse->hub(), session);
  EXPECT_FALSE(mouse->connected());
  EXPECT_EQ(mouse->HubConnection(), nullptr);
  EXPECT_EQ(mouse->lastPoint(), (Point{-1.0, -1.0}));
  EXPECT_EQ(mouse->mouseQueue()->label(), "Mouse Dispatch Queue");
  ASSERT_NE(mouse->mouseSimulator(), nullptr);
  EXPECT_EQ(mouse->mouseSimulator()->hub(), session);
  EXPECT_THAT(world.log.lines(),
              ElementsAre("-[TSLMouseSimulator init:]/55: init",
                          "TSLMouseSimulator--[TSLMouseConnection initWithHub:]/60: "
                          "mouse connection init"));
  world.log.clear();
  world.run();
  const std::string line = kTick + ": Unable to send as socket is not connected.";
  EXPECT_EQ(world.log.count(line), 1);
  world.advance(std::chrono::milliseconds{250});
  EXPECT_EQ(world.log.count(line), 11);
}

// newProtocol YES selects port "1494", NO selects "8500"; sslEnabled selects TLS with default
// settings or plain TCP.
TEST_F(TSLMouseConnectionTest, TheProtocolSelectsThePortAndSslEnabledSelectsTls) {
  for (const bool newProtocol : {true, false}) {
    for (const bool ssl : {true, false}) {
      session->setNewProtocol(newProtocol);
      session->setSslEnabled(ssl);
      start();
      EXPECT_EQ(hub->endpoint.host, "192.168.1.100");
      EXPECT_EQ(hub->endpoint.port, newProtocol ? "1494" : "8500");
      EXPECT_EQ(hub->tls, ssl);
      EXPECT_TRUE(hub->started);
      EXPECT_EQ(mouse->HubConnection(), hub);
    }
  }
}

TEST_F(TSLMouseConnectionTest, AMissingHostNameCallsTheCompletionWithCode2AndMakesNoConnection) {
  mouse->stopWithCompletionHandler(nullptr);
  session = TSLSession::initWithHostName(std::nullopt, 0);
  mouse = TSLMouseConnection::initWithHub(session);
  world.log.clear();
  mouse->startWithCompletionHandler([this](const std::optional<Error>& error) {
    EXPECT_THAT(world.log.lines(), IsEmpty());  // the line follows the call
    started.handler()(error);
  });
  EXPECT_THAT(started.codes, ElementsAre(2));
  EXPECT_THAT(world.log.lines(), ElementsAre(kStart + ": hostName is NULL!"));
  EXPECT_THAT(world.network.connections, IsEmpty());
}

TEST_F(TSLMouseConnectionTest, ASessionThatIsGoneIsAMissingHostName) {
  session.reset();
  mouse->startWithCompletionHandler(started.handler());
  EXPECT_THAT(started.codes, ElementsAre(2));
  EXPECT_THAT(world.network.connections, IsEmpty());
}

TEST_F(TSLMouseConnectionTest, ARefusedPortIsCode3) {
  start();
  world.log.clear();
  hub->refuse();
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3));
  EXPECT_THAT(world.log.lines(),
              Contains(kStart + "_block_invoke: Failed, calling completion handler"));
  EXPECT_FALSE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, AFailureAfterTheHandshakeCallsTheCompletionAgainAndLeavesConnected) {
  initialize();
  hub->enterState(platform::ConnectionState::kFailed);
  world.run();
  EXPECT_THAT(channelLog(),
              ElementsAre(kStart + "_block_invoke: Failed, calling completion handler"));
  EXPECT_THAT(started.codes, ElementsAre(0, 3));
  EXPECT_TRUE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, AStatesErrorCodeIsLeftInErrno) {
  start();
  const auto errnoAfter = [this](const std::optional<Error>& error) {
    int left = -1;
    mouse->mouseQueue()->async([] { errno = 4711; });
    hub->enterState(platform::ConnectionState::kWaiting, error);
    mouse->mouseQueue()->async([&left] { left = errno; });
    world.run();
    return left;
  };
  EXPECT_EQ(errnoAfter(Error{platform::kNetworkErrorDomain, 51, "Network unreachable"}), 51);
  EXPECT_EQ(errnoAfter(std::nullopt), 0);
}

TEST_F(TSLMouseConnectionTest, OtherStatesChangeNothing) {
  start();
  world.run();
  world.log.clear();
  for (const auto state : {platform::ConnectionState::kInvalid, platform::ConnectionState::kWaiting,
                           platform::ConnectionState::kPreparing}) {
    hub->enterState(state);
  }
  world.run();
  EXPECT_THAT(world.log.lines(), IsEmpty());
  EXPECT_THAT(started.codes, IsEmpty());
  EXPECT_THAT(hub->sends, IsEmpty());
}

TEST_F(TSLMouseConnectionTest, SendingCopiesTheBytesAndAlwaysSucceeds) {
  Bytes bytes{1, 2, 3};
  EXPECT_TRUE(mouse->sendBuffer(bytes.data(), bytes.size()));
  initialize();
  EXPECT_TRUE(mouse->sendBuffer(bytes.data(), bytes.size()));
  bytes.assign(3, 0);
  EXPECT_THAT(hub->sends, ElementsAre(Bytes{1, 2, 3}));
}

TEST_F(TSLMouseConnectionTest, PacketsGoToTheSimulatorOneByOne) {
  initialize();
  hub->deliver(kMovePacket);
  hub->deliver(kLeftDownPacket);
  world.run();
  EXPECT_THAT(world.poster.posts(), ElementsAre("post mouse 5 (10,20) button 0 click 1",
                                                "post mouse 1 (10,20) button 0 click 1"));
  EXPECT_THAT(channelLog(), ElementsAre(kReceive + ": Enter", kReceive + ": Enter"));
}

TEST_F(TSLMouseConnectionTest, WithoutASimulatorPacketsAreReadAndDropped) {
  initialize();
  const auto simulator = mouse->mouseSimulator();
  mouse->setMouseSimulator(nullptr);
  hub->deliver(kMovePacket);
  world.run();
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_EQ(world.log.count(kReceive + ": Enter"), 1);
}

TEST_F(TSLMouseConnectionTest, AClosedStreamEndsTheLoopAndClearsConnectedAfterItsLastPacket) {
  initialize();
  hub->deliverAndClose(kLeftDownPacket);
  world.run();
  EXPECT_THAT(world.poster.operations,
              ElementsAre("create mouse 1 (10,20) button 0",
                          "post mouse 1 (10,20) button 0 click 1", "release all"));
  EXPECT_THAT(channelLog(), ElementsAre(kReceive + "_block_invoke_2: ERROR IN Recieve"));
  EXPECT_FALSE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, AnEmptyContentEndsTheLoopAndLeavesConnected) {
  initialize();
  hub->deliver({8, 0x0D, 10});
  hub->close();
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kReceive + "_block_invoke: Error: content == NULL"));
  EXPECT_TRUE(mouse->connected());
  EXPECT_THAT(world.poster.operations, ElementsAre("release all"));
}

TEST_F(TSLMouseConnectionTest, AnErrorEndsTheLoopAfterItsPacketAndLeavesConnected) {
  initialize();
  hub->completeReceive({kLeftDownPacket, ContentContext{false}, false,
                        Error{platform::kNetworkErrorDomain, 54, "Connection reset by peer"}});
  world.run();
  EXPECT_THAT(world.poster.posts(), ElementsAre("post mouse 1 (10,20) button 0 click 1"));
  EXPECT_EQ(world.poster.operations.back(), "release all");
  EXPECT_THAT(channelLog(),
              ElementsAre(kReceive + "_block_invoke_2: Error: Error Domain=tessel.network Code=54 "
                                     "\"Connection reset by peer\""));
  EXPECT_TRUE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, ACompletedPacketOfAContextThatGoesOnDoesNotEndTheLoop) {
  initialize();
  hub->completeReceive({kMovePacket, ContentContext{false}, true, std::nullopt});
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kReceive + ": Enter"));
  EXPECT_TRUE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, ACompletedPacketWithoutAContextEndsTheLoop) {
  initialize();
  hub->completeReceive({kMovePacket, std::nullopt, true, std::nullopt});
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kReceive + "_block_invoke_2: ERROR IN Recieve"));
  EXPECT_FALSE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, EverythingOfTheChannelRunsOnTheMouseQueue) {
  becomeReady();
  hub->deliver(kCursorReply);
  hub->deliver(kCaptureReply);
  hub->deliver(kMovePacket);
  world.advance(std::chrono::milliseconds{25});
  hub->deliverAndClose(kMovePacket);
  mouse->stopWithCompletionHandler(nullptr);
  world.run();
  const auto queue = ElementsAre(mouse->mouseQueue()->label());
  for (const std::string& prefix :
       {kStart + "_block_invoke: ", kInit + ": ", kInit + "_block_invoke: ",
        kInit + "_block_invoke_2: ", kReceive + ": ", kReceive + "_block_invoke_2: ", kTick + ": ",
        std::string{"lastPtX/Y:"}, std::string{"-[TSLMouseSimulator simulateMouseEvent:]"}}) {
    EXPECT_THAT(world.log.queuesOf(prefix), queue) << prefix;
  }
}

TEST_F(TSLMouseConnectionTest, StoppingCallsTheCompletionWithErrorCode2) {
  initialize();
  Completions stopped;
  mouse->stopWithCompletionHandler(stopped.handler());
  EXPECT_THAT(stopped.codes, ElementsAre(2));
  EXPECT_FALSE(mouse->connected());
  EXPECT_TRUE(hub->cancelled);
  EXPECT_EQ(world.scheduler.runningTimers(), 0);
  EXPECT_THAT(world.poster.operations, ElementsAre("release all"));
  world.run();
  EXPECT_EQ(world.log.count(kStart + "_block_invoke: Connection was cancelled"), 1);
  EXPECT_THAT(started.codes, ElementsAre(0));
}

TEST_F(TSLMouseConnectionTest, AStopBeforeTheStartCancelsWhatExists) {
  Completions stopped;
  mouse->stopWithCompletionHandler(stopped.handler());
  EXPECT_THAT(stopped.codes, ElementsAre(2));
  EXPECT_EQ(world.scheduler.runningTimers(), 0);
}

TEST_F(TSLMouseConnectionTest, AStopThatComesBeforeTheReadyStateIsHandledLeavesItNotConnected) {
  start();
  hub->becomeReady();  // for the queue to handle
  mouse->stopWithCompletionHandler(nullptr);
  world.run();
  EXPECT_FALSE(mouse->connected());
  EXPECT_THAT(hub->sends, IsEmpty());
  EXPECT_THAT(started.codes, IsEmpty());
}

TEST_F(TSLMouseConnectionTest, AStopWhileTheConnectionIsMadeCancelsIt) {
  world.network.onStart = [this](SimConnection& connection) {
    mouse->setHubConnection(nullptr);  // as long as the start has not stored it
    mouse->stopWithCompletionHandler(nullptr);
    connection.becomeReady();
  };
  start();
  world.run();
  EXPECT_TRUE(world.network.last()->cancelled);
  EXPECT_FALSE(mouse->connected());
}

TEST_F(TSLMouseConnectionTest, AConnectionWithoutAHostNameIsTornDownAtTheNextTick) {
  mouse->stopWithCompletionHandler(nullptr);
  session = TSLSession::initWithHostName(std::nullopt, 0);
  mouse = TSLMouseConnection::initWithHub(session);
  mouse->startWithCompletionHandler(started.handler());
  EXPECT_THAT(started.codes, ElementsAre(2));
  const std::weak_ptr<TSLMouseConnection> weak = mouse;
  mouse = TSLMouseConnection::initWithHub(session);
  world.advance(std::chrono::milliseconds{25});
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(world.scheduler.runningTimers(), 1);  // that of the new one
}

TEST_F(TSLMouseConnectionTest, AConnectionThatItsSessionDropsIsTornDownAtTheNextTick) {
  initialize();
  hub->deliver(kLeftDownPacket);
  world.run();
  const std::weak_ptr<TSLMouseConnection> weak = mouse;
  session->setMouseConnection(nullptr);
  mouse = TSLMouseConnection::initWithHub(session);
  EXPECT_FALSE(weak.expired());
  world.advance(std::chrono::milliseconds{25});
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(hub->cancelled);
  EXPECT_EQ(world.poster.operations.back(), "release all");
  EXPECT_EQ(world.scheduler.runningTimers(), 1);  // that of the new one
}

TEST_F(TSLMouseConnectionTest, AConnectionWhoseSessionIsGoneIsTornDownAtTheNextTick) {
  const std::weak_ptr<TSLMouseConnection> weak = mouse;
  mouse = TSLMouseConnection::initWithHub(TSLSession::initWithHostName("192.168.1.101", 0));
  session.reset();
  EXPECT_FALSE(weak.expired());
  world.advance(std::chrono::milliseconds{25});
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(world.scheduler.runningTimers(), 0);
}

}  // namespace
}  // namespace tessel::test
