#pragma once

#include <filesystem>
#include <memory>
#include <openssl/ssl.h>
#include <string>

namespace tessel::test {

template <auto free>
struct Freed {
  template <typename T>
  void operator()(T* handle) const {
    free(handle);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freed<X509_free>>;
using ServerContext = std::unique_ptr<SSL_CTX, Freed<SSL_CTX_free>>;

/// Issues certificates that last for this test, and can be trusted through SSL_CERT_FILE.
class CertificateAuthority {
 public:
  CertificateAuthority();

  /// For the names and addresses in `subjects`, written like "DNS:localhost,IP:127.0.0.1".
  /// `daysLeft` below zero: it has expired.
  ServerContext makeServerContext(const std::string& subjects, int daysLeft = 1) const;

  void write(const std::filesystem::path& file) const;

 private:
  Key key_;
  Certificate certificate_;
};

}  // namespace tessel::test
