// The way to the ready state, and the ends that come before it.

#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tessel/MainQueue.h"
#include "tests/platform/posix/net/ConnectionFixture.h"

namespace tessel::test {
namespace {

using platform::ConnectionState;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

class SocketConnectionTest : public ConnectionTest {
 protected:
  // Waits for the failure; what was reported must be waiting, then failed, with this code.
  void expectFailure(ConnectionProbe& probe, long code) {
    ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
    ASSERT_THAT(probe.states(), ElementsAre(ConnectionState::kPreparing, ConnectionState::kWaiting,
                                            ConnectionState::kFailed));
    for (const auto& change : probe.changes()) {
      EXPECT_TRUE(change.onQueue);
      if (change.state == ConnectionState::kPreparing) continue;
      ASSERT_TRUE(change.error);
      EXPECT_EQ(change.error->domain, platform::kNetworkErrorDomain);
      EXPECT_EQ(change.error->code, code);
      EXPECT_NE(change.error->localizedDescription, "");
    }
  }

  void expectStartFails(const std::string& host, const std::string& port, long code) {
    auto probe = makeProbe(host, port);
    probe.connection->start();
    expectFailure(probe, code);
  }
};

TEST_F(SocketConnectionTest, ARefusalIsReportedAsWaitingThenAsFailed) {
  const LoopbackListener notListening{-1};
  expectStartFails("127.0.0.1", notListening.port(), 61);
}

TEST_F(SocketConnectionTest, AnUnreachableAddressIsReportedAsWaitingThenAsFailed) {
  expectStartFails("255.255.255.255", "1494", ENETUNREACH);
}

TEST_F(SocketConnectionTest, APortThatIsNoneFails) {
  for (const char* port : {"", "0", "65536", "-1", "+80", "80 ", "http"}) {
    SCOPED_TRACE(port);
    expectStartFails("127.0.0.1", port, EINVAL);
  }
}

TEST_F(SocketConnectionTest, AnEmptyHostFails) { expectStartFails("", "1494", EINVAL); }

TEST_F(SocketConnectionTest, ANameThatCannotBeFoundFailsWithACodeOfItsOwn) {
  const std::string longerThanAnyLabel(64, 'a');
  auto probe = makeProbe(longerThanAnyLabel, "1494");
  probe.connection->start();
  ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
  EXPECT_LT(probe.changes().back().error->code, 0);
}

TEST_F(SocketConnectionTest, ANameIsTriedAtEachOfItsAddresses) {
  LoopbackListener listener;  // of 127.0.0.1 only
  auto probe = makeProbe("localhost", listener.port());
  probe.connection->start();
  const LoopbackPeer peer{listener.accept()};
  EXPECT_TRUE(probe.reaches(ConnectionState::kReady));
}

TEST_F(SocketConnectionTest, ARefusedNameHasTheCodeOfARefusal) {
  const LoopbackListener notListening{-1};
  expectStartFails("localhost", notListening.port(), 61);
}

TEST_F(SocketConnectionTest, AnAddressThatNeverAnswersTimesOut) {
  network_ = platform::makeNetwork(200ms);
  const LoopbackListener listener{0};
  const Descriptor fillsTheBacklog = listener.connect();
  expectStartFails("127.0.0.1", listener.port(), ETIMEDOUT);
}

TEST_F(SocketConnectionTest, ATlsHandshakeThatIsNeverAnsweredTimesOut) {
  network_ = platform::makeNetwork(200ms);
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port(), true);
  probe.connection->start();
  const LoopbackPeer silent{listener.accept()};
  expectFailure(probe, ETIMEDOUT);
}

TEST_F(SocketConnectionTest, ReceivesAskedForBeforeAFailureCompleteWithItsError) {
  const LoopbackListener notListening{-1};
  auto probe = makeProbe("127.0.0.1", notListening.port());
  probe.receive(4);
  probe.connection->start();
  probe.receive(8);
  ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
  probe.receive(1);
  for (const auto& outcome : probe.outcomes(3)) {
    EXPECT_TRUE(outcome.onQueue);
    EXPECT_FALSE(outcome.received.content);
    EXPECT_FALSE(outcome.received.isComplete);
    ASSERT_TRUE(outcome.received.error);
    EXPECT_EQ(outcome.received.error->code, 61);
  }
}

TEST_F(SocketConnectionTest, AFailedConnectionIsNotCancelledAsWell) {
  const LoopbackListener notListening{-1};
  auto probe = makeProbe("127.0.0.1", notListening.port());
  probe.connection->start();
  ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
  probe.connection->cancel();
  passQueue();
  EXPECT_EQ(probe.states().back(), ConnectionState::kFailed);
}

TEST_F(SocketConnectionTest, ACancelBeforeTheStartEndsItForGood) {
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port());
  probe.receive(4);
  probe.connection->cancel();
  probe.connection->start();
  EXPECT_TRUE(probe.reaches(ConnectionState::kCancelled));
  passQueue();
  EXPECT_THAT(probe.states(), ElementsAre(ConnectionState::kCancelled));
  EXPECT_EQ(probe.outcome(0).error->code, ECANCELED);
}

TEST_F(SocketConnectionTest, ACancelWhileConnectingEndsItAtOnce) {
  const LoopbackListener listener{0};
  const Descriptor fillsTheBacklog = listener.connect();
  auto probe = makeProbe("127.0.0.1", listener.port());
  probe.connection->start();
  ASSERT_TRUE(probe.reaches(ConnectionState::kPreparing));
  probe.connection->cancel();
  EXPECT_TRUE(probe.reaches(ConnectionState::kCancelled));
  EXPECT_THAT(probe.states(),
              ElementsAre(ConnectionState::kPreparing, ConnectionState::kCancelled));
}

TEST_F(SocketConnectionTest, ACancelDuringTheHandshakeEndsItAtOnce) {
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port(), true);
  probe.connection->start();
  LoopbackPeer peer{listener.accept()};
  EXPECT_EQ(peer.receive(1), Bytes{0x16}) << "a TLS handshake record";
  probe.connection->cancel();
  EXPECT_TRUE(probe.reaches(ConnectionState::kCancelled));
}

TEST_F(SocketConnectionTest, ASecondStartAndASecondCancelChangeNothing) {
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port());
  probe.connection->start();
  probe.connection->start();
  const LoopbackPeer peer{listener.accept()};
  ASSERT_TRUE(probe.reaches(ConnectionState::kReady));
  probe.connection->cancel();
  probe.connection->cancel();
  ASSERT_TRUE(probe.reaches(ConnectionState::kCancelled));
  passQueue();
  EXPECT_THAT(probe.states(), ElementsAre(ConnectionState::kPreparing, ConnectionState::kReady,
                                          ConnectionState::kCancelled));
}

TEST_F(SocketConnectionTest, DroppingTheLastReferenceCancels) {
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port());
  probe.connection->start();
  LoopbackPeer peer{listener.accept()};
  ASSERT_TRUE(probe.reaches(ConnectionState::kReady));
  probe.receive(4);
  probe.connection.reset();
  EXPECT_TRUE(probe.reaches(ConnectionState::kCancelled));
  EXPECT_EQ(probe.outcome(0).error->code, ECANCELED);
  EXPECT_TRUE(peer.seesEnd());
}

TEST_F(SocketConnectionTest, TheLastReferenceMayBeDroppedByAHandlerOnAQueueThatGoesWithIt) {
  LoopbackListener listener;
  Eventually<bool> cancelled;
  const auto holder = std::make_shared<std::shared_ptr<platform::NetworkConnection>>();
  *holder = network_->makeConnection({"127.0.0.1", listener.port()}, false,
                                     queues_->makeSerialQueue("goes"));
  (*holder)->setStateChangedHandler([&cancelled, holder](ConnectionState state, const auto&) {
    if (state == ConnectionState::kReady) holder->reset();
    if (state == ConnectionState::kCancelled) cancelled.set(true);
  });
  (*holder)->start();
  LoopbackPeer peer{listener.accept()};
  EXPECT_TRUE(cancelled.becomesEqual(true));
  EXPECT_TRUE(peer.seesEnd());
}

// TCP holds the peer back; the connection buffers nothing that no receive asked for.
TEST_F(SocketConnectionTest, NothingIsReadBeforeAReceiveAsksForIt) {
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port());
  probe.connection->start();
  LoopbackPeer peer{listener.accept()};
  ASSERT_TRUE(probe.reaches(ConnectionState::kReady));
  constexpr std::size_t kMoreThanTheSystemHolds = std::size_t{64} << 20;
  std::size_t taken = 0;
  // Until nothing is taken three times in a row.
  for (int full = 0; full < 3 && taken < kMoreThanTheSystemHolds;) {
    const std::size_t more = peer.fill();
    taken += more;
    full = more == 0 ? full + 1 : 0;
    passQueue();
  }
  EXPECT_LT(taken, kMoreThanTheSystemHolds);
}

TEST_F(SocketConnectionTest, HandlersAreLetGoAtTheEnd) {
  for (const bool fails : {true, false}) {
    LoopbackListener listener{fails ? -1 : 1};
    auto connection = network_->makeConnection({"127.0.0.1", listener.port()}, false, queue_);
    auto captured = std::make_shared<Eventually<bool>>();
    const std::weak_ptr<Eventually<bool>> watched = captured;
    connection->setStateChangedHandler([captured](ConnectionState state, const auto&) {
      captured->update([&](bool& ended) {
        ended |= state == ConnectionState::kFailed || state == ConnectionState::kCancelled;
      });
    });
    connection->receive(4, [captured](const auto&) {});
    connection->start();
    if (!fails) connection->cancel();
    ASSERT_TRUE(captured->becomesEqual(true));
    captured.reset();
    passQueue();
    EXPECT_TRUE(watched.expired());
  }
}

TEST_F(SocketConnectionTest, OnTheMainQueueEverythingIsDeliveredWhereTheHostRunsIt) {
  queue_ = queues_->mainQueue();
  LoopbackListener listener;
  auto probe = makeProbe("127.0.0.1", listener.port());
  probe.connection->start();
  LoopbackPeer peer{listener.accept()};
  peer.send("12345678");
  probe.receive(4);
  probe.receive(0);
  peer.shutdownSending();
  probe.connection->receive(4, [](const auto&) { stopMainQueue(); });
  EXPECT_THAT(probe.states(), IsEmpty());
  runMainQueue();
  EXPECT_THAT(probe.states(), ElementsAre(ConnectionState::kPreparing, ConnectionState::kReady));
  for (const auto& change : probe.changes()) EXPECT_TRUE(change.onQueue);
  for (const auto& outcome : probe.outcomes(2)) EXPECT_TRUE(outcome.onQueue);
}

}  // namespace
}  // namespace tessel::test
