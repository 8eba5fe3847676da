// Streams cut anywhere and ended at any time. The choices are random but the same in every run: a
// round that fails can be run again by its number.

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/posix/net/ConnectionFixture.h"

namespace tessel::test {
namespace {

using platform::ConnectionState;
using platform::Received;

enum class Ending { kPeerCloses, kPeerResets, kCancelled, kDropped };

// The bytes of both directions: each tells its position, so that none can be lost or doubled.
Bytes stretch(std::size_t from, std::size_t length) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) {
    const std::size_t at = from + i;
    bytes[i] = static_cast<std::uint8_t>(at ^ (at >> 8) ^ (at >> 16));
  }
  return bytes;
}

class Choices {
 public:
  explicit Choices(unsigned seed) : engine_{seed} {}

  // Mostly small, now and then large: the sizes around buffers and records matter most.
  std::size_t size(std::size_t limit) {
    const std::size_t magnitude = std::size_t{1} << upTo(17);
    return std::min(limit, 1 + upTo(magnitude));
  }
  std::size_t upTo(std::size_t most) {
    return std::uniform_int_distribution<std::size_t>{0, most}(engine_);
  }

 private:
  std::mt19937 engine_;
};

class SocketStressTest : public ConnectionTest, public testing::WithParamInterface<bool> {
 protected:
  static constexpr std::size_t kIncoming = 300'000;
  static constexpr std::size_t kOutgoing = 300'000;

  void runRound(unsigned round);

  // Asks for all that the peer sends, and a little more.
  std::vector<std::size_t> askForEverything(ConnectionProbe& probe, Choices& choices);

  // Trades bytes with the connection until it ends or everything has gone both ways, or until
  // `limit` bytes have moved.
  void trade(LoopbackPeer& peer, Choices& choices, std::size_t limit);

  void expectOrderedOutcomes(const ConnectionProbe& probe, const std::vector<std::size_t>& asked,
                             Ending ending);

  const TrustedAuthority trusted_;
  const ServerContext serverContext_ = trusted_.authority.makeServerContext("IP:127.0.0.1");
  std::size_t sent_ = 0;      // by the peer
  std::size_t received_ = 0;  // by the peer
};

INSTANTIATE_TEST_SUITE_P(Both, SocketStressTest, testing::Values(false, true),
                         [](const auto& tls) { return tls.param ? "Tls" : "Plain"; });

std::vector<std::size_t> SocketStressTest::askForEverything(ConnectionProbe& probe,
                                                            Choices& choices) {
  std::vector<std::size_t> asked;
  for (std::size_t total = 0; total <= kIncoming;) {
    asked.push_back(choices.size(kIncoming));
    total += asked.back();
    probe.receive(asked.back());
  }
  return asked;
}

void SocketStressTest::trade(LoopbackPeer& peer, Choices& choices, std::size_t limit) {
  sent_ = received_ = 0;
  while (sent_ + received_ < limit) {
    const bool mayRead = received_ < kOutgoing;
    if (sent_ == kIncoming && !mayRead) return;
    if (sent_ < kIncoming && (!mayRead || choices.upTo(1) == 0)) {
      const Bytes bytes = stretch(sent_, choices.size(kIncoming - sent_));
      const ssize_t count = peer.sendSome(bytes.data(), bytes.size());
      if (count <= 0) return;
      sent_ += static_cast<std::size_t>(count);
    } else {
      Bytes bytes(choices.size(kOutgoing - received_));
      const ssize_t count = peer.receiveSome(bytes.data(), bytes.size());
      if (count <= 0) return;
      bytes.resize(static_cast<std::size_t>(count));
      ASSERT_TRUE(bytes == stretch(received_, bytes.size())) << "at " << received_;
      received_ += bytes.size();
    }
  }
}

void SocketStressTest::expectOrderedOutcomes(const ConnectionProbe& probe,
                                             const std::vector<std::size_t>& asked, Ending ending) {
  const auto outcomes = probe.outcomes(asked.size());
  std::size_t position = 0;
  bool ended = false;
  for (std::size_t i = 0; i < asked.size(); ++i) {
    const Received& received = outcomes[i].received;
    ASSERT_TRUE(received.content || received.isComplete || received.error) << "never completed";
    if (!received.content) {
      ended = true;
      EXPECT_EQ(received.isComplete, ending == Ending::kPeerCloses);
      continue;
    }
    ASSERT_FALSE(ended) << "content after the end";
    ASSERT_TRUE(*received.content == stretch(position, asked[i])) << "at " << position;
    position += asked[i];
  }
  EXPECT_TRUE(ended);
  if (ending == Ending::kPeerCloses) {
    EXPECT_GT(position + asked.back(), kIncoming);
  }
}

void SocketStressTest::runRound(unsigned round) {
  SCOPED_TRACE("round " + std::to_string(round));
  Choices choices{round};
  const auto ending = static_cast<Ending>(round % 4);
  LoopbackListener listener{1, 4096 << choices.upTo(6)};
  auto probe = makeProbe("127.0.0.1", listener.port(), GetParam());
  const auto asked = askForEverything(probe, choices);
  probe.connection->start();
  std::unique_ptr<LoopbackPeer> peer;
  if (GetParam()) {
    auto tls = std::make_unique<TlsPeer>(listener.accept(), serverContext_.get());
    ASSERT_TRUE(tls->accept());
    peer = std::move(tls);
  } else {
    peer = std::make_unique<LoopbackPeer>(listener.accept());
  }

  std::jthread sender{[connection = probe.connection, senderChoices = choices]() mutable {
    for (std::size_t position = 0; position < kOutgoing;) {
      const Bytes bytes = stretch(position, senderChoices.size(kOutgoing - position));
      connection->send(bytes.data(), bytes.size());
      position += bytes.size();
    }
  }};
  const std::size_t all = kIncoming + kOutgoing;
  trade(*peer, choices, ending == Ending::kPeerCloses ? all : choices.upTo(all));

  switch (ending) {
    case Ending::kPeerCloses:
      EXPECT_EQ(sent_, kIncoming);
      EXPECT_EQ(received_, kOutgoing);
      peer->shutdownSending();
      break;
    case Ending::kPeerResets:
      peer->reset();
      EXPECT_TRUE(probe.reaches(ConnectionState::kFailed));
      break;
    case Ending::kCancelled:
      probe.connection->cancel();
      EXPECT_TRUE(probe.reaches(ConnectionState::kCancelled));
      break;
    case Ending::kDropped:
      sender.join();
      probe.connection.reset();
      EXPECT_TRUE(probe.reaches(ConnectionState::kCancelled));
      break;
  }
  expectOrderedOutcomes(probe, asked, ending);
}

TEST_P(SocketStressTest, NothingIsLostDoubledOrLeftHanging) {
  constexpr unsigned kRounds = 60;
  for (unsigned round = 0; round < kRounds && !HasFailure(); ++round) runRound(round);
}

}  // namespace
}  // namespace tessel::test
