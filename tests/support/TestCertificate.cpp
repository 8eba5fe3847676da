#include "tests/support/TestCertificate.h"

#include <cstdio>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace tessel::test {
namespace {

struct Free {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
  void operator()(std::FILE* file) const { std::fclose(file); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

void require(bool success) {
  if (!success) throw std::runtime_error{"no certificate could be made"};
}

void addExtension(X509* certificate, int kind, const std::string& value) {
  const Owned<X509_EXTENSION> extension{X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str())};
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

Owned<X509> makeCertificate(EVP_PKEY* key, const std::string& names) {
  Owned<X509> made{X509_new()};
  X509* certificate = made.get();
  constexpr long kVersion3 = 2;
  constexpr long kDay = 86400;
  X509_set_version(certificate, kVersion3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate), kDay);
  X509_set_pubkey(certificate, key);
  X509_NAME* name = X509_get_subject_name(certificate);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("Tessel test"), -1, -1, 0);
  X509_set_issuer_name(certificate, name);
  addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate, NID_subject_alt_name, names);
  require(X509_sign(certificate, key, EVP_sha256()) != 0);
  return made;
}

}  // namespace

TestCertificate::TestCertificate(const std::string& names)
    : context_{SSL_CTX_new(TLS_server_method())} {
  const Owned<EVP_PKEY> key{EVP_EC_gen("P-256")};
  require(key != nullptr);
  const Owned<X509> certificate = makeCertificate(key.get(), names);
  const Owned<std::FILE> out{std::fopen(file().c_str(), "w")};
  require(out && PEM_write_X509(out.get(), certificate.get()) == 1);
  require(SSL_CTX_use_certificate(context_.get(), certificate.get()) == 1);
  require(SSL_CTX_use_PrivateKey(context_.get(), key.get()) == 1);
}

}  // namespace tessel::test
