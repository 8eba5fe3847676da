#pragma once

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "platform/posix/net/NetServices.h"
#include "tests/platform/posix/net/ConnectionProbe.h"
#include "tests/platform/posix/net/LoopbackPeer.h"
#include "tests/platform/posix/net/TestCertificates.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::test {

/// A queue and a network to make connections with.
class ConnectionTest : public testing::Test {
 protected:
  ConnectionProbe makeProbe(const std::string& host, const std::string& port, bool tls = false) {
    return ConnectionProbe{*network_, queue_, {host, port}, tls};
  }

  /// Until the queue has done everything that was ready before.
  void passQueue() {
    Eventually<bool> passed;
    // Twice: the sockets are looked at in between.
    queue_->async([&] { queue_->async([&] { passed.set(true); }); });
    ASSERT_TRUE(passed.becomesEqual(true));
  }

  std::shared_ptr<platform::Queues> queues_ = platform::makeQueues();
  std::shared_ptr<platform::SerialQueue> queue_ = queues_->makeSerialQueue("connection");
  std::shared_ptr<platform::Network> network_ = platform::makeNetwork(std::chrono::seconds{10});
};

/// An authority that the connections of the test trust.
class TrustedAuthority {
 public:
  TrustedAuthority() {
    authority.write(file());
    setenv("SSL_CERT_FILE", file().c_str(), 1);
  }
  ~TrustedAuthority() { unsetenv("SSL_CERT_FILE"); }
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;

  const CertificateAuthority authority;

 private:
  std::filesystem::path file() const { return folder_.path() / "authority.pem"; }
  const TemporaryFolder folder_;
};

}  // namespace tessel::test
