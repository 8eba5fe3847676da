#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/CoreServices.h"
#include "tests/platform/ConnectionProbe.h"
#include "tests/platform/LoopbackPeer.h"

namespace tessel::test {
namespace {

using platform::ConnectionState;
using platform::Received;
using testing::ElementsAre;
using namespace std::chrono_literals;

class SocketConnectionTest : public testing::Test {
 protected:
  ConnectionProbe makeProbe(const std::string& host, const std::string& port) {
    return ConnectionProbe{*network_, queue_, {host, port}};
  }

  std::shared_ptr<platform::SerialQueue> queue_ =
      platform::makeQueues()->makeSerialQueue("connection");
  std::shared_ptr<platform::Network> network_ = platform::makeNetwork(5s);
};

// Connected to a peer, both ends in hand.
class ConnectedTest : public SocketConnectionTest {
 protected:
  void SetUp() override {
    probe_.connection->start();
    ASSERT_TRUE(probe_.reaches(ConnectionState::kReady));
  }

  LoopbackListener listener_;
  ConnectionProbe probe_ = makeProbe("127.0.0.1", listener_.port());
  LoopbackPeer peer_ = (probe_.connection->start(), listener_.accept());
};

TEST_F(SocketConnectionTest, ARefusalIsReportedAsWaitingThenAsFailed) {
  const LoopbackListener nobodyListens{-1};
  auto probe = makeProbe("127.0.0.1", nobodyListens.port());
  probe.connection->start();
  ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
  const auto changes = probe.changes();
  ASSERT_THAT(probe.states(), ElementsAre(ConnectionState::kPreparing, ConnectionState::kWaiting,
                                          ConnectionState::kFailed));
  for (const auto& change : {changes[1], changes[2]}) {
    ASSERT_TRUE(change.error);
    EXPECT_EQ(change.error->domain, platform::kNetworkErrorDomain);
    EXPECT_EQ(change.error->code, 61);
    EXPECT_EQ(change.error->localizedDescription, "Connection refused");
    EXPECT_TRUE(change.onQueue);
  }
}

TEST_F(ConnectedTest, BytesGoBothWays) {
  probe_.connection->send("hello", 5);
  EXPECT_EQ(peer_.receiveText(5), "hello");
  peer_.send("world");
  probe_.receive(5);
  EXPECT_EQ(probe_.text(0), "world");
  EXPECT_FALSE(probe_.outcome(0).isComplete);
  EXPECT_TRUE(probe_.outcomes(1)[0].onQueue);
  EXPECT_THAT(probe_.states(), ElementsAre(ConnectionState::kPreparing, ConnectionState::kReady));
}

}  // namespace
}  // namespace tessel::test
