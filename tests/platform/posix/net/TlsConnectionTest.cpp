// Which peers a TLS connection trusts, and how it ends.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/platform/posix/net/ConnectionFixture.h"

namespace tessel::test {
namespace {

using platform::ConnectionState;
using testing::ElementsAre;
using testing::HasSubstr;

class TlsConnectionTest : public ConnectionTest {
 protected:
  // Starts a connection to `host` and answers it with the certificate in `context`.
  void meet(const std::string& host, SSL_CTX* context) {
    probe_ = std::make_unique<ConnectionProbe>(makeProbe(host, listener_.port(), true));
    probe_->connection->start();
    peer_ = std::make_unique<TlsPeer>(listener_.accept(), context);
    accepted_ = peer_->accept();
  }

  void expectTrusted(const std::string& host, const std::string& subjects) {
    const auto context = trusted_.authority.makeServerContext(subjects);
    meet(host, context.get());
    EXPECT_TRUE(accepted_);
    EXPECT_TRUE(probe_->reaches(ConnectionState::kReady)) << host << " as " << subjects;
  }

  void expectRefused(const std::string& host, SSL_CTX* context, const std::string& reason) {
    meet(host, context);
    ASSERT_TRUE(probe_->reaches(ConnectionState::kFailed));
    EXPECT_THAT(probe_->states(),
                ElementsAre(ConnectionState::kPreparing, ConnectionState::kFailed));
    const auto error = *probe_->changes().back().error;
    EXPECT_EQ(error.domain, platform::kNetworkErrorDomain);
    EXPECT_GT(error.code, 0xFFFF) << "not to be taken for an errno value";
    EXPECT_THAT(error.localizedDescription, HasSubstr(reason));
  }

  const TrustedAuthority trusted_;
  LoopbackListener listener_;
  std::unique_ptr<ConnectionProbe> probe_;
  std::unique_ptr<TlsPeer> peer_;
  bool accepted_ = false;
};

TEST_F(TlsConnectionTest, AnAddressOfTheCertificateIsAccepted) {
  expectTrusted("127.0.0.1", "IP:127.0.0.1");
  EXPECT_EQ(peer_->serverName(), "") << "an address is no server name";
}

TEST_F(TlsConnectionTest, ANameOfTheCertificateIsAcceptedAndSentToTheServer) {
  expectTrusted("localhost", "DNS:localhost");
  EXPECT_EQ(peer_->serverName(), "localhost");
}

TEST_F(TlsConnectionTest, AnotherNameIsRefused) {
  const auto context = trusted_.authority.makeServerContext("DNS:hub.example,IP:127.0.0.1");
  expectRefused("localhost", context.get(), "ostname mismatch");
}

TEST_F(TlsConnectionTest, AnotherAddressIsRefused) {
  const auto context = trusted_.authority.makeServerContext("IP:127.0.0.2,DNS:127.0.0.1");
  expectRefused("127.0.0.1", context.get(), "IP address mismatch");
}

TEST_F(TlsConnectionTest, AnUntrustedAuthorityIsRefused) {
  const CertificateAuthority stranger;
  const auto context = stranger.makeServerContext("IP:127.0.0.1");
  expectRefused("127.0.0.1", context.get(), "certificate verify failed: ");
}

TEST_F(TlsConnectionTest, AnExpiredCertificateIsRefused) {
  const auto context = trusted_.authority.makeServerContext("IP:127.0.0.1", -1);
  expectRefused("127.0.0.1", context.get(), "certificate has expired");
}

TEST_F(TlsConnectionTest, ARefusedPeerHasBeenToldWhy) {
  const CertificateAuthority stranger;
  const auto context = stranger.makeServerContext("IP:127.0.0.1");
  meet("127.0.0.1", context.get());
  ASSERT_TRUE(probe_->reaches(ConnectionState::kFailed));
  EXPECT_EQ(peer_->receive(1), Bytes{}) << "an alert, not content";
}

TEST_F(TlsConnectionTest, Tls12IsTheOldestVersionTaken) {
  const auto context = trusted_.authority.makeServerContext("IP:127.0.0.1");
  SSL_CTX_set_max_proto_version(context.get(), TLS1_2_VERSION);
  meet("127.0.0.1", context.get());
  EXPECT_TRUE(probe_->reaches(ConnectionState::kReady));

  SSL_CTX_set_cipher_list(context.get(), "ALL:@SECLEVEL=0");
  SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
  SSL_CTX_set_max_proto_version(context.get(), TLS1_1_VERSION);
  expectRefused("127.0.0.1", context.get(), "protocol version");
}

TEST_F(TlsConnectionTest, APeerThatDoesNotSpeakTlsIsRefused) {
  auto probe = makeProbe("127.0.0.1", listener_.port(), true);
  probe.connection->start();
  LoopbackPeer peer{listener_.accept()};
  peer.send("HTTP/1.1 400 Bad Request\r\n\r\n");
  ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
  EXPECT_THAT(probe.changes().back().error->localizedDescription, HasSubstr("wrong version"));
}

TEST_F(TlsConnectionTest, APeerThatClosesInTheHandshakeIsAFailure) {
  auto probe = makeProbe("127.0.0.1", listener_.port(), true);
  probe.connection->start();
  LoopbackPeer peer{listener_.accept()};
  peer.shutdownTcp();
  ASSERT_TRUE(probe.reaches(ConnectionState::kFailed));
  EXPECT_THAT(probe.changes().back().error->localizedDescription,
              HasSubstr("ended in the middle of TLS"));
}

// Without the peer's close_notify the stream may have been truncated on the way.
TEST_F(TlsConnectionTest, AStreamThatIsCutOffIsAnErrorAndNoEnd) {
  expectTrusted("127.0.0.1", "IP:127.0.0.1");
  probe_->receive(4);
  peer_->shutdownTcp();
  ASSERT_TRUE(probe_->reaches(ConnectionState::kFailed));
  const auto received = probe_->outcome(0);
  EXPECT_FALSE(received.content);
  EXPECT_FALSE(received.isComplete);
  ASSERT_TRUE(received.error);
  EXPECT_THAT(received.error->localizedDescription, HasSubstr("ended in the middle of TLS"));
}

TEST_F(TlsConnectionTest, TheLastBytesBeforeACutAreDeliveredWithoutAnEnd) {
  expectTrusted("127.0.0.1", "IP:127.0.0.1");
  peer_->send("last");
  peer_->shutdownTcp();
  peer_->waitUntilEndArrived();
  probe_->receive(4);
  EXPECT_EQ(probe_->text(0), "last");
  EXPECT_FALSE(probe_->outcome(0).isComplete);
  probe_->receive(4);
  EXPECT_TRUE(probe_->outcome(1).error);
}

}  // namespace
}  // namespace tessel::test
