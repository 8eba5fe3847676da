// What a ready connection carries, plain and over TLS.

#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/posix/net/ConnectionFixture.h"
#include "tests/support/Pattern.h"

namespace tessel::test {
namespace {

using platform::ConnectionState;
using platform::Received;

enum class Kind { kPlain, kTls };

class SocketTransferTest : public ConnectionTest, public testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    probe_.connection->start();
    if (isTls()) {
      auto peer = std::make_unique<TlsPeer>(listener_.accept(), serverContext_.get());
      ASSERT_TRUE(peer->accept());
      peer_ = std::move(peer);
    } else {
      peer_ = std::make_unique<LoopbackPeer>(listener_.accept());
    }
    ASSERT_TRUE(probe_.reaches(ConnectionState::kReady));
  }

  static bool isTls() { return GetParam() == Kind::kTls; }

  void send(const Bytes& bytes) { probe_.connection->send(bytes.data(), bytes.size()); }

  static void expectEnd(const Received& received) {
    EXPECT_FALSE(received.content);
    EXPECT_FALSE(received.error);
    EXPECT_TRUE(received.isComplete);
    ASSERT_TRUE(received.context);
    EXPECT_TRUE(received.context->isFinal);
  }

  static void expectError(const Received& received, long code) {
    EXPECT_FALSE(received.content);
    EXPECT_FALSE(received.context);
    EXPECT_FALSE(received.isComplete);
    ASSERT_TRUE(received.error);
    EXPECT_EQ(received.error->code, code);
  }

  const TrustedAuthority trusted_;
  const ServerContext serverContext_ = trusted_.authority.makeServerContext("IP:127.0.0.1");
  LoopbackListener listener_{16, 16 * 1024};  // a small window: what is sent piles up soon
  ConnectionProbe probe_ = makeProbe("127.0.0.1", listener_.port(), isTls());
  std::unique_ptr<LoopbackPeer> peer_;
};

INSTANTIATE_TEST_SUITE_P(Both, SocketTransferTest, testing::Values(Kind::kPlain, Kind::kTls),
                         [](const auto& kind) {
                           return std::string{kind.param == Kind::kTls ? "Tls" : "Plain"};
                         });

TEST_P(SocketTransferTest, BytesGoBothWays) {
  probe_.connection->send("hello", 5);
  EXPECT_EQ(peer_->receiveText(5), "hello");
  probe_.receive(5);
  peer_->send("world");
  EXPECT_EQ(probe_.text(0), "world");
  const Received received = probe_.outcome(0);
  EXPECT_FALSE(received.isComplete);
  EXPECT_FALSE(received.error);
  ASSERT_TRUE(received.context);
  EXPECT_FALSE(received.context->isFinal);
  EXPECT_TRUE(probe_.outcomes(1)[0].onQueue);
}

TEST_P(SocketTransferTest, ExactReadsWhereverTheStreamIsCut) {
  const std::string message =
      "4444"
      "88888888"
      "1"
      "22";
  std::size_t outcome = 0;
  for (std::size_t cut = 0; cut <= message.size(); ++cut) {
    SCOPED_TRACE(cut);
    for (const std::size_t length : {4, 8, 1, 2}) probe_.receive(length);
    peer_->send(message.substr(0, cut));
    passQueue();  // the first part is read as far as it goes
    peer_->send(message.substr(cut));
    EXPECT_EQ(probe_.text(outcome++), "4444");
    EXPECT_EQ(probe_.text(outcome++), "88888888");
    EXPECT_EQ(probe_.text(outcome++), "1");
    EXPECT_EQ(probe_.text(outcome++), "22");
  }
}

TEST_P(SocketTransferTest, OneByteAtATimeMakesAWholeMessage) {
  probe_.receive(8);
  for (const char byte : std::string{"abcdefgh"}) {
    peer_->send(std::string{byte});
    passQueue();
  }
  EXPECT_EQ(probe_.text(0), "abcdefgh");
}

TEST_P(SocketTransferTest, AReceiveOfNoBytesCompletesAtOnceAndLeavesTheStreamAlone) {
  probe_.receive(0);
  const Received nothing = probe_.outcome(0);
  EXPECT_FALSE(nothing.content);
  EXPECT_FALSE(nothing.context);
  EXPECT_FALSE(nothing.error);
  EXPECT_FALSE(nothing.isComplete);

  peer_->send("abcd");
  peer_->shutdownSending();
  peer_->waitUntilEndArrived();
  probe_.receive(0);
  EXPECT_FALSE(probe_.outcome(1).isComplete);
  probe_.receive(4);
  EXPECT_EQ(probe_.text(2), "abcd");
  probe_.receive(0);
  EXPECT_FALSE(probe_.outcome(3).isComplete);
}

TEST_P(SocketTransferTest, APeersCloseAloneIsAnEndWithoutContent) {
  probe_.receive(4);
  peer_->shutdownSending();
  expectEnd(probe_.outcome(0));
  probe_.receive(4);
  expectEnd(probe_.outcome(1));
}

TEST_P(SocketTransferTest, ACloseInTheMiddleOfAMessageGivesNoneOfIt) {
  probe_.receive(8);
  peer_->send("abc");
  peer_->shutdownSending();
  expectEnd(probe_.outcome(0));
}

TEST_P(SocketTransferTest, ACloseAlreadyKnownComesWithTheLastBytes) {
  peer_->send("first last");
  peer_->shutdownSending();
  peer_->waitUntilEndArrived();
  probe_.receive(6);
  probe_.receive(4);
  probe_.receive(1);
  EXPECT_EQ(probe_.text(0), "first ");
  EXPECT_FALSE(probe_.outcome(0).isComplete);
  const Received last = probe_.outcome(1);
  EXPECT_EQ(probe_.text(1), "last");
  EXPECT_TRUE(last.isComplete);
  EXPECT_FALSE(last.error);
  ASSERT_TRUE(last.context);
  EXPECT_TRUE(last.context->isFinal);
  expectEnd(probe_.outcome(2));
}

TEST_P(SocketTransferTest, APeerThatClosedItsSideStillReadsOurs) {
  probe_.receive(1);
  peer_->shutdownSending();
  expectEnd(probe_.outcome(0));
  probe_.connection->send("still here", 10);
  EXPECT_EQ(peer_->receiveText(10), "still here");
}

TEST_P(SocketTransferTest, AResetFailsTheConnectionAndItsReceives) {
  probe_.receive(4);
  probe_.receive(8);
  peer_->reset();
  ASSERT_TRUE(probe_.reaches(ConnectionState::kFailed));
  EXPECT_EQ(probe_.changes().back().error->code, ECONNRESET);
  expectError(probe_.outcome(0), ECONNRESET);
  expectError(probe_.outcome(1), ECONNRESET);
  probe_.receive(1);
  expectError(probe_.outcome(2), ECONNRESET);
}

TEST_P(SocketTransferTest, SendingToAPeerThatIsGoneFailsInTheEnd) {
  peer_->reset();
  // The reset may be on its way for a while, in which the system takes what is sent.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{10};
  while (probe_.states().back() != ConnectionState::kFailed &&
         std::chrono::steady_clock::now() < end) {
    send(Bytes(1000));
    passQueue();
  }
  ASSERT_TRUE(probe_.reaches(ConnectionState::kFailed));
  passQueue();
  EXPECT_EQ(probe_.connection->unsentBytes(), 0U);
  send(Bytes(1000));
  EXPECT_EQ(probe_.connection->unsentBytes(), 0U);
}

TEST_P(SocketTransferTest, UnsentBytesGoUpWithASlowReaderAndDownAgain) {
  const Bytes piece = pattern(50000);
  constexpr std::size_t kPieces = 400;  // more than the system's buffers take
  const Bytes header = pattern(56);
  Bytes expected;
  for (std::size_t i = 0; i < kPieces; ++i) {
    send(header);
    send(piece);
    expected.insert(expected.end(), header.begin(), header.end());
    expected.insert(expected.end(), piece.begin(), piece.end());
  }
  passQueue();
  EXPECT_GT(probe_.connection->unsentBytes(), 0U);
  EXPECT_LT(probe_.connection->unsentBytes(), expected.size());
  EXPECT_TRUE(peer_->receive(expected.size()) == expected);
  passQueue();
  EXPECT_EQ(probe_.connection->unsentBytes(), 0U);
}

TEST_P(SocketTransferTest, ReceivesGoOnWhileSendsAreHeldBack) {
  for (int i = 0; i < 400; ++i) send(Bytes(50000));
  passQueue();
  ASSERT_GT(probe_.connection->unsentBytes(), 0U);
  probe_.receive(4);
  peer_->send("back");
  EXPECT_EQ(probe_.text(0), "back");
}

TEST_P(SocketTransferTest, TheBufferOfASendMayBeUsedAgainAtOnce) {
  std::string buffer = "before";
  probe_.connection->send(buffer.data(), buffer.size());
  buffer = "after!";
  EXPECT_EQ(peer_->receiveText(6), "before");
}

TEST_P(SocketTransferTest, ASendOfNothingIsNothing) {
  probe_.connection->send("", 0);
  EXPECT_EQ(probe_.connection->unsentBytes(), 0U);
  probe_.connection->send("x", 1);
  EXPECT_EQ(peer_->receiveText(1), "x");
}

TEST_P(SocketTransferTest, ACancelCompletesEveryReceiveWithAnErrorAndDropsWhatIsUnsent) {
  for (int i = 0; i < 400; ++i) send(Bytes(50000));
  probe_.receive(4);
  probe_.receive(8);
  probe_.connection->cancel();
  ASSERT_TRUE(probe_.reaches(ConnectionState::kCancelled));
  expectError(probe_.outcome(0), ECANCELED);
  expectError(probe_.outcome(1), ECANCELED);
  probe_.receive(1);
  expectError(probe_.outcome(2), ECANCELED);
  EXPECT_EQ(probe_.connection->unsentBytes(), 0U);
}

TEST_P(SocketTransferTest, ACancelFromItsOwnHandlerLetsNoMoreContentThrough) {
  peer_->send("abcdefgh");
  Eventually<std::vector<bool>> contents;
  queue_->async([&] {
    probe_.connection->receive(4, [&](const Received& received) {
      probe_.connection->cancel();
      contents.update([&](auto& all) { all.push_back(received.content.has_value()); });
    });
    probe_.connection->receive(4, [&](const Received& received) {
      contents.update([&](auto& all) { all.push_back(received.content.has_value()); });
    });
  });
  EXPECT_TRUE(contents.becomesEqual({true, false}));
}

TEST_P(SocketTransferTest, ACancelIsACleanCloseEvenWithBytesUnread) {
  send(pattern(1000));
  peer_->send("never asked for");
  passQueue();
  probe_.connection->cancel();
  ASSERT_TRUE(probe_.reaches(ConnectionState::kCancelled));
  EXPECT_TRUE(peer_->receive(1000) == pattern(1000));
  EXPECT_TRUE(peer_->seesEnd());
}

TEST_P(SocketTransferTest, AHandlerMayAskForTheNextReceive) {
  const std::string message = "0123456789";
  Eventually<std::string> received;
  std::function<void(const Received&)> next = [&](const Received& one) {
    if (!one.content) return;
    received.update(
        [&](std::string& all) { all.append(one.content->begin(), one.content->end()); });
    probe_.connection->receive(1, next);
  };
  probe_.connection->receive(1, next);
  peer_->send(message);
  EXPECT_TRUE(received.becomesEqual(message));
  probe_.connection->cancel();
  ASSERT_TRUE(probe_.reaches(ConnectionState::kCancelled));
  passQueue();
}

}  // namespace
}  // namespace tessel::test
