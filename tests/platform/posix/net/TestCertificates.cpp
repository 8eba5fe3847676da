#include "tests/platform/posix/net/TestCertificates.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace tessel::test {
namespace {

constexpr long kDay = 24L * 60 * 60;

Key makeKey() { return Key{EVP_EC_gen("P-256")}; }

void extend(X509* certificate, X509* issuer, int extension, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, Freed<X509_EXTENSION_free>> made{
      X509V3_EXT_conf_nid(nullptr, &context, extension, value.c_str())};
  ASSERT_TRUE(made) << value;
  X509_add_ext(certificate, made.get(), -1);
}

// Not yet signed.
Certificate makeCertificate(EVP_PKEY* key, const char* name, long serial, int daysLeft) {
  Certificate certificate{X509_new()};
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -7 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), daysLeft * kDay);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
  return certificate;
}

}  // namespace

CertificateAuthority::CertificateAuthority()
    : key_{makeKey()}, certificate_{makeCertificate(key_.get(), "Test Authority", 1, 1)} {
  X509* certificate = certificate_.get();
  X509_set_issuer_name(certificate, X509_get_subject_name(certificate));
  extend(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
  extend(certificate, certificate, NID_key_usage, "critical,keyCertSign");
  extend(certificate, certificate, NID_subject_key_identifier, "hash");
  EXPECT_GT(X509_sign(certificate, key_.get(), EVP_sha256()), 0);
}

ServerContext CertificateAuthority::makeServerContext(const std::string& subjects,
                                                      int daysLeft) const {
  const Key key = makeKey();
  const Certificate certificate = makeCertificate(key.get(), "Test Hub", 2, daysLeft);
  X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate_.get()));
  extend(certificate.get(), certificate_.get(), NID_subject_alt_name, subjects);
  extend(certificate.get(), certificate_.get(), NID_authority_key_identifier, "keyid");
  EXPECT_GT(X509_sign(certificate.get(), key_.get(), EVP_sha256()), 0);

  ServerContext context{SSL_CTX_new(TLS_server_method())};
  EXPECT_EQ(SSL_CTX_use_certificate(context.get(), certificate.get()), 1);
  EXPECT_EQ(SSL_CTX_use_PrivateKey(context.get(), key.get()), 1);
  return context;
}

void CertificateAuthority::write(const std::filesystem::path& file) const {
  const std::unique_ptr<std::FILE, Freed<std::fclose>> opened{std::fopen(file.c_str(), "w")};
  ASSERT_TRUE(opened);
  EXPECT_EQ(PEM_write_X509(opened.get(), certificate_.get()), 1);
}

}  // namespace tessel::test
