#include <cerrno>
#include <map>

#include "input/TSLKeyBoardConnection.h"
#include "input/TSLKeyBoardSimulator.h"
#include "tessel/Log.h"
#include "tests/input/InputFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using platform::ConnectionState;
using platform::ContentContext;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kReceiveKeys = "-[TSLKeyBoardConnection rcvKeyBoardEvent:]_block_invoke";
const Bytes kOpening{1, 0, 0, 0, 1, 0, 0, 0, 0};
const Bytes kADown{8, 0, 0, 0, 0, 0, 'a', 0};

class TSLKeyBoardConnectionTest : public KeyBoardChannelTest {
 protected:
  std::vector<std::string> channelLog() const {
    return numbered(logWithout("-[TSLKeyBoardSimulator"));
  }
};

TEST_F(TSLKeyBoardConnectionTest, ANewConnectionIsNotConnected) {
  EXPECT_FALSE(keyBoard->connected());
  EXPECT_EQ(keyBoard->hub(), session);
  EXPECT_EQ(keyBoard->HubConnection(), nullptr);
  EXPECT_EQ(keyBoard->keyboardQueue()->label(), "Keyboard Dispatch Queue");
  EXPECT_NE(keyBoard->keyBoardSimulator(), nullptr);
  const std::string init = "TSLKeyBoardSimulator--[TSLKeyBoardConnection initWithHub:]/N: ";
  EXPECT_THAT(
      numbered(world.log.lines()),
      ElementsAre(init + "ENTER", "-[TSLKeyBoardSimulator init]/N: TSLKeyBoardSimulator init",
                  init + "tslkeyboard connection init"));
}

// newProtocol YES connects to port 1494, NO to port 8500, whatever sslEnabled says; sslEnabled only
// switches TLS.
TEST_F(TSLKeyBoardConnectionTest, TheProtocolSelectsThePortAndSslEnabledSelectsTls) {
  for (const bool newProtocol : {true, false}) {
    for (const bool ssl : {true, false}) {
      session->setNewProtocol(newProtocol);
      session->setSslEnabled(ssl);
      open();
      EXPECT_EQ(hub->endpoint.host, "192.168.1.100");
      EXPECT_EQ(hub->endpoint.port, newProtocol ? "1494" : "8500");
      EXPECT_EQ(hub->tls, ssl);
      EXPECT_EQ(keyBoard->HubConnection(), hub);
      hub->cancel();
      world.run();
    }
  }
}

// The first bytes sent after the connection becomes ready are exactly 01 00 00 00 01 00 00 00 00,
// once.
TEST_F(TSLKeyBoardConnectionTest, TheOpeningMessageIsSentOnce) {
  open();
  EXPECT_THAT(hub->sends, ElementsAre(kOpening));
  EXPECT_TRUE(keyBoard->connected());
  EXPECT_THAT(started.codes, ElementsAre(0));
  EXPECT_EQ(hub->receives, 1);
  hub->deliver(kADown);
  world.advance(10s);
  EXPECT_THAT(hub->sends, ElementsAre(kOpening));
}

TEST_F(TSLKeyBoardConnectionTest, TheFirstReceiveIsArmedFromTheMainQueue) {
  world.network.onStart = [](SimConnection& connection) { connection.becomeReady(); };
  world.log.clear();
  start();
  EXPECT_THAT(numbered(world.log.lines()),
              ElementsAre("-[TSLKeyBoardConnection startWithCompletionHandler:]/N: ENTER"));
  EXPECT_EQ(hub->receives, 0);
  world.run();
  EXPECT_EQ(hub->receives, 1);
}

TEST_F(TSLKeyBoardConnectionTest, AMissingHostNameIsCode2) {
  session = TSLSession::initWithHostName(std::nullopt, 0);
  keyBoard = TSLKeyBoardConnection::initWithHub(session);
  world.log.clear();
  keyBoard->startWithCompletionHandler(started.handler());
  EXPECT_THAT(started.codes, ElementsAre(2));
  EXPECT_THAT(
      numbered(world.log.lines()),
      ElementsAre("-[TSLKeyBoardConnection startWithCompletionHandler:]/N: ENTER",
                  "-[TSLKeyBoardConnection startKeyBoardSocketReturningError:]: hostName is "
                  "NULL!"));
  session.reset();
  keyBoard->startWithCompletionHandler(started.handler());
  EXPECT_THAT(started.codes, ElementsAre(2, 2));
  EXPECT_THAT(world.network.connections, IsEmpty());
}

// A start against a closed port completes with nil error and connected NO.
TEST_F(TSLKeyBoardConnectionTest, AClosedPortCompletesWithoutErrorAndNotConnected) {
  world.network.onStart = [](SimConnection& connection) { connection.refuse(); };
  start();
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(0));
  EXPECT_FALSE(keyBoard->connected());
  EXPECT_THAT(hub->sends, IsEmpty());
  EXPECT_EQ(hub->receives, 0);
}

TEST_F(TSLKeyBoardConnectionTest, TheStartBlocksUntilTheOutcomeIsKnown) {
  world.network.onStart = [](SimConnection& connection) {
    connection.enterState(ConnectionState::kInvalid);
    connection.enterState(ConnectionState::kPreparing);
    connection.enterState(ConnectionState::kWaiting);
  };
  const auto caller = platform::services().queues->makeSerialQueue("caller");
  caller->async([this] { start(); });
  world.advance(1h);
  EXPECT_THAT(started.codes, IsEmpty());
  world.network.last()->becomeReady();
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(0));
  EXPECT_TRUE(keyBoard->connected());
}

TEST_F(TSLKeyBoardConnectionTest, AFailureAfterReadyLeavesConnected) {
  open();
  hub->enterState(ConnectionState::kFailed,
                  Error{platform::kNetworkErrorDomain, 54, "Connection reset by peer"});
  world.run();
  EXPECT_TRUE(keyBoard->connected());
}

TEST_F(TSLKeyBoardConnectionTest, EveryStateSetsErrnoToTheCodeOfItsError) {
  for (const auto state :
       {ConnectionState::kInvalid, ConnectionState::kWaiting, ConnectionState::kPreparing,
        ConnectionState::kReady, ConnectionState::kFailed, ConnectionState::kCancelled}) {
    for (const int code : {54, 0}) {
      open();
      int seen = -1;
      keyBoard->keyboardQueue()->async([] { errno = 7; });
      hub->enterState(state, code == 0 ? std::nullopt
                                       : std::optional{Error{platform::kNetworkErrorDomain, code,
                                                             "Connection reset by peer"}});
      keyBoard->keyboardQueue()->async([&seen] { seen = errno; });
      world.run();
      EXPECT_EQ(seen, code) << "state " << static_cast<int>(state);
      hub->cancel();
      world.run();
    }
  }
}

TEST_F(TSLKeyBoardConnectionTest, ASecondStartReplacesTheConnectionAndDoesNotCancelTheOldOne) {
  open();
  const auto first = hub;
  open();
  EXPECT_NE(hub, first);
  EXPECT_EQ(keyBoard->HubConnection(), hub);
  EXPECT_FALSE(first->cancelled);
  EXPECT_THAT(hub->sends, ElementsAre(kOpening));
  EXPECT_TRUE(keyBoard->connected());
  first->cancel();  // it waits for records, and so lives until it is
  world.run();
}

TEST_F(TSLKeyBoardConnectionTest, AStopEndsAStartThatBlocksAndTheSessionIsNotHeldByIt) {
  const auto caller = platform::services().queues->makeSerialQueue("caller");
  caller->async([this] { start(); });
  world.run();
  EXPECT_THAT(started.codes, IsEmpty());
  EXPECT_EQ(session.use_count(), 1);
  keyBoard->stopWithCompletionHandler(nullptr);
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(0));
  EXPECT_FALSE(keyBoard->connected());
}

TEST_F(TSLKeyBoardConnectionTest, RecordsGoToTheSimulatorOneByOne) {
  open();
  hub->deliver(kADown);
  hub->deliver({8, 0, 0, 0, 0, 1, 'a', 0});
  world.run();
  EXPECT_THAT(world.poster.posts(),
              ElementsAre("post key 0x0 down flags 0x0", "post key 0x0 up flags 0x0"));
  EXPECT_THAT(channelLog(), ElementsAre(kReceiveKeys + ": ENTER", kReceiveKeys + ": ENTER"));
}

TEST_F(TSLKeyBoardConnectionTest, RecordsAreHandledOnTheKeyboardQueue) {
  open();
  std::map<std::string, bool> onQueue;
  setLogSink([&](std::string_view line) {
    onQueue[std::string{line}] = keyBoard->keyboardQueue()->isCurrent();
  });
  hub->deliver(kADown);
  world.run();
  setLogSink(nullptr);
  EXPECT_TRUE(onQueue["-[TSLKeyBoardSimulator simulateKeyBoardEvent:]: ENTER"]);
  EXPECT_TRUE(onQueue[kReceiveKeys + ": ENTER"]);
}

TEST_F(TSLKeyBoardConnectionTest, WithoutASimulatorRecordsAreReadAndDropped) {
  open();
  keyBoard->setKeyBoardSimulator(nullptr);
  hub->deliver(kADown);
  world.run();
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_EQ(hub->receives, 2);
}

// A hub that closes the stream ends the loop with "ERROR IN Recieve" and connected NO; a record
// received in the same completion is still handed to the synthesizer first.
TEST_F(TSLKeyBoardConnectionTest, AClosedStreamEndsTheLoopAfterItsLastRecord) {
  open();
  hub->deliverAndClose(kADown);
  world.run();
  EXPECT_THAT(world.poster.operations,
              ElementsAre("create key 0x0 down", "post key 0x0 down flags 0x0", "release all"));
  const std::string simulator = "-[TSLKeyBoardSimulator ";
  EXPECT_THAT(numbered(world.log.lines()),
              ElementsAre(simulator + "simulateKeyBoardEvent:]: ENTER",
                          simulator + "simulateKeyBoardEvent:]/N: KEY_DOWN_FLAG",
                          simulator + "simulateNormalKey:]/N: self.keyCodeFromHub=0x61, "
                                      "self.virtualKey=0x0, self.eventFlag=0x0,",
                          simulator + "simulateNormalKey:]/N: rcv normal key "
                                      "self.eventFlag=0x0, self.virtualKey=0x0",
                          kReceiveKeys + ": ENTER", kReceiveKeys + ": ERROR IN Recieve"));
  EXPECT_FALSE(keyBoard->connected());
  EXPECT_EQ(hub->receives, 1);
}

TEST_F(TSLKeyBoardConnectionTest, AnEmptyContentEndsTheLoopAndLeavesConnected) {
  open();
  hub->close();
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kReceiveKeys + ": Error: content == NULL"));
  EXPECT_TRUE(keyBoard->connected());
  EXPECT_THAT(world.poster.operations, ElementsAre("release all"));
}

TEST_F(TSLKeyBoardConnectionTest, AnErrorEndsTheLoopAfterItsRecordAndLeavesConnected) {
  open();
  hub->completeReceive({kADown, ContentContext{false}, false,
                        Error{platform::kNetworkErrorDomain, 54, "Connection reset by peer"}});
  world.run();
  EXPECT_EQ(world.poster.posts().size(), 1U);
  EXPECT_EQ(world.poster.operations.back(), "release all");
  EXPECT_THAT(channelLog(),
              ElementsAre(kReceiveKeys + ": ENTER",
                          kReceiveKeys + ": Error: Error Domain=tessel.network Code=54 "
                                         "\"Connection reset by peer\""));
  EXPECT_TRUE(keyBoard->connected());
  EXPECT_EQ(hub->receives, 1);
}

TEST_F(TSLKeyBoardConnectionTest, ACompletedRecordOfAContextThatGoesOnDoesNotEndTheLoop) {
  open();
  hub->completeReceive({kADown, ContentContext{false}, true, std::nullopt});
  world.run();
  EXPECT_EQ(hub->receives, 2);
  hub->completeReceive({kADown, std::nullopt, true, std::nullopt});
  world.run();
  EXPECT_EQ(hub->receives, 2);
  EXPECT_FALSE(keyBoard->connected());
}

// stopWithCompletionHandler: calls its block with nil before the connection has finished
// cancelling.
TEST_F(TSLKeyBoardConnectionTest, AStopCompletesBeforeTheCancellationHasFinished) {
  open();
  Completions stopped;
  keyBoard->stopWithCompletionHandler(stopped.handler());
  EXPECT_THAT(stopped.codes, ElementsAre(0));
  EXPECT_TRUE(hub->cancelled);
  EXPECT_TRUE(keyBoard->connected());
  EXPECT_THAT(world.poster.operations, ElementsAre("release all"));
  world.run();
  EXPECT_FALSE(keyBoard->connected());
}

/// Is stopped, and has seen its channel cancelled, before its opening message is sent.
class StoppedBeforeTheOpening : public TSLKeyBoardConnection {
 public:
  StoppedBeforeTheOpening(const std::shared_ptr<TSLSession>& hub, SimWorld& world)
      : TSLKeyBoardConnection{hub}, world_{world} {}
  bool sendBuffer(const void* bytes, std::uint64_t length) override {
    stopWithCompletionHandler(nullptr);
    world_.run();
    return TSLKeyBoardConnection::sendBuffer(bytes, length);
  }

 private:
  SimWorld& world_;
};

TEST_F(TSLKeyBoardConnectionTest, AStopRightAfterTheReadyStateLeavesItNotConnected) {
  keyBoard = std::make_shared<StoppedBeforeTheOpening>(session, world);
  open();
  EXPECT_THAT(started.codes, ElementsAre(0));
  EXPECT_TRUE(hub->cancelled);
  EXPECT_FALSE(keyBoard->connected());
}

TEST_F(TSLKeyBoardConnectionTest, AStopWhileTheConnectionIsMadeCancelsIt) {
  world.network.onStart = [this](SimConnection& connection) {
    keyBoard->setHubConnection(nullptr);  // as long as the start has not stored it
    keyBoard->stopWithCompletionHandler(nullptr);
    connection.becomeReady();
  };
  start();
  world.run();
  EXPECT_TRUE(world.network.last()->cancelled);
  EXPECT_FALSE(keyBoard->connected());
}

TEST_F(TSLKeyBoardConnectionTest, DroppingItStopsIt) {
  open();
  session->setKeyBoardConnection(nullptr);
  const std::weak_ptr<TSLKeyBoardConnection> weak = keyBoard;
  keyBoard = TSLKeyBoardConnection::initWithHub(session);
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(hub->cancelled);
  EXPECT_THAT(world.poster.operations, testing::Contains("release all"));
  EXPECT_THAT(numbered(world.log.startingWith("TSLKeyBoardConnection-")),
              ElementsAre("TSLKeyBoardConnection--[TSLKeyBoardConnection dealloc]/N: tslkeyboard "
                          "connection dealloc"));
}

class KeyBoardSendingFails : public TSLKeyBoardConnection {
 public:
  explicit KeyBoardSendingFails(const std::shared_ptr<TSLSession>& hub)
      : TSLKeyBoardConnection{hub} {}
  bool sendBuffer(const void* /*bytes*/, std::uint64_t /*length*/) override { return false; }
};

TEST_F(TSLKeyBoardConnectionTest, AnOpeningMessageThatCannotBeSentCancelsAndCompletesWithoutError) {
  keyBoard = std::make_shared<KeyBoardSendingFails>(session);
  open();
  EXPECT_THAT(started.codes, ElementsAre(0));
  EXPECT_FALSE(keyBoard->connected());
  EXPECT_TRUE(hub->cancelled);
  EXPECT_EQ(hub->receives, 0);
}

TEST_F(TSLKeyBoardConnectionTest, TheStartReturnsWhetherItIsConnected) {
  std::optional<Error> error;
  world.network.onStart = [](SimConnection& connection) { connection.becomeReady(); };
  EXPECT_TRUE(keyBoard->startKeyBoardSocketReturningError(error));
  EXPECT_TRUE(keyBoard->connected());
  EXPECT_EQ(error, std::nullopt);

  world.network.onStart = [](SimConnection& connection) { connection.refuse(); };
  EXPECT_FALSE(keyBoard->startKeyBoardSocketReturningError(error));
  EXPECT_FALSE(keyBoard->connected());
  EXPECT_EQ(error, std::nullopt);

  world.network.onStart = [](SimConnection& connection) { connection.becomeReady(); };
  keyBoard = std::make_shared<KeyBoardSendingFails>(session);
  EXPECT_FALSE(keyBoard->startKeyBoardSocketReturningError(error));
  EXPECT_EQ(error, std::nullopt);

  session = TSLSession::initWithHostName(std::nullopt, 0);
  keyBoard = TSLKeyBoardConnection::initWithHub(session);
  EXPECT_FALSE(keyBoard->startKeyBoardSocketReturningError(error));
  EXPECT_EQ(error, (Error{TSLErrorDomain, 2, {}}));
}

TEST_F(TSLKeyBoardConnectionTest, WithoutAConnectionSendingIsTrueAllTheSame) {
  EXPECT_TRUE(keyBoard->sendBuffer(kADown.data(), kADown.size()));
  EXPECT_TRUE(keyBoard->newInitialization());
  EXPECT_THAT(world.network.connections, IsEmpty());
}

}  // namespace
}  // namespace tessel::test
