#pragma once

#include <memory>
#include <openssl/ssl.h>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace tessel::test {

/// A key and a certificate that it has signed itself, fresh for each test.
class TestCertificate {
 public:
  /// `names` as in a certificate's list of alternative names: "IP:127.0.0.1" or "DNS:localhost".
  explicit TestCertificate(const std::string& names = "IP:127.0.0.1,DNS:localhost");

  /// A PEM file of the certificate, for those who shall trust it.
  std::string file() const { return folder_ / "certificate.pem"; }
  /// What a server needs to speak TLS with it.
  SSL_CTX* serverContext() const { return context_.get(); }

 private:
  struct FreeContext {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  };
  const TemporaryFolder folder_;
  const std::unique_ptr<SSL_CTX, FreeContext> context_;
};

}  // namespace tessel::test
