#pragma once

#include <memory>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <string>
#include <vector>

namespace tessel::hub {

/// The hub's certificate and its private key.
class Certificate {
 public:
  /// From two PEM files. Throws std::runtime_error with a plain sentence.
  static Certificate load(const std::string& certificateFile, const std::string& keyFile);

  /// A fresh self-signed one for `addresses` and for the host `name`, valid for ten years. Its key
  /// never leaves memory.
  static Certificate selfSigned(const std::vector<std::string>& addresses, const std::string& name);

  X509* certificate() const { return certificate_.get(); }
  EVP_PKEY* key() const { return key_.get(); }

  /// Makes `context` serve with this certificate. Throws std::runtime_error with a plain sentence.
  void use(SSL_CTX* context) const;

  /// The certificate, without its key, as PEM.
  std::string pem() const;

 private:
  struct Free {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  };

  Certificate(X509* certificate, EVP_PKEY* key) : certificate_{certificate}, key_{key} {}

  std::unique_ptr<X509, Free> certificate_;
  std::unique_ptr<EVP_PKEY, Free> key_;
};

}  // namespace tessel::hub
