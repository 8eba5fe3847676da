#include "apps/tessel-hub/http/Certificate.h"

#include <array>
#include <cstdio>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace tessel::hub {
namespace {

constexpr long kTenYears = 10L * 365 * 24 * 60 * 60;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
using Memory = std::unique_ptr<BIO, int (*)(BIO*)>;

[[noreturn]] void fail(const std::string& what) { throw std::runtime_error{what}; }

void addExtension(X509* certificate, int kind, const std::string& value) {
  X509V3_CTX context{};
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  if (extension == nullptr) fail("The certificate cannot be made for \"" + value + "\".");
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

void setSubject(X509* certificate) {
  X509_NAME* subject = X509_get_subject_name(certificate);
  const std::string name = "Tessel hub";
  X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.data()),
                             static_cast<int>(name.size()), -1, 0);
  X509_set_issuer_name(certificate, subject);
}

void setSerialNumber(X509* certificate) {
  std::array<unsigned char, 8> random{};
  RAND_bytes(random.data(), static_cast<int>(random.size()));
  random[0] &= 0x7F;  // a positive number
  BIGNUM* number = BN_bin2bn(random.data(), static_cast<int>(random.size()), nullptr);
  BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate));
  BN_free(number);
}

// Whether a certificate can carry the name as a host name.
bool isHostName(const std::string& name) {
  return !name.empty() && name.find_first_not_of(
                              "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVW"
                              "XYZ0123456789-.") == std::string::npos;
}

}  // namespace

Certificate Certificate::load(const std::string& certificateFile, const std::string& keyFile) {
  const File first{std::fopen(certificateFile.c_str(), "re"), &std::fclose};
  if (!first) fail("The certificate " + certificateFile + " cannot be read.");
  Certificate loaded{PEM_read_X509(first.get(), nullptr, nullptr, nullptr), nullptr};
  if (!loaded.certificate_) fail(certificateFile + " holds no certificate in PEM form.");
  const File second{std::fopen(keyFile.c_str(), "re"), &std::fclose};
  if (!second) fail("The private key " + keyFile + " cannot be read.");
  loaded.key_.reset(PEM_read_PrivateKey(second.get(), nullptr, nullptr, nullptr));
  if (!loaded.key_) fail(keyFile + " holds no private key in PEM form.");
  if (X509_check_private_key(loaded.certificate(), loaded.key()) != 1) {
    fail("The private key " + keyFile + " does not belong to the certificate " + certificateFile +
         ".");
  }
  return loaded;
}

Certificate Certificate::selfSigned(const std::vector<std::string>& addresses,
                                    const std::string& name) {
  Certificate made{X509_new(), EVP_EC_gen("P-256")};
  if (!made.certificate_ || !made.key_) fail("No certificate can be made.");
  X509* certificate = made.certificate();
  X509_set_version(certificate, X509_VERSION_3);
  setSerialNumber(certificate);
  // An hour back: the clocks of senders differ.
  X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate), kTenYears);
  X509_set_pubkey(certificate, made.key());
  setSubject(certificate);
  std::string names = isHostName(name) ? "DNS:" + name : "DNS:tessel-hub";
  for (const std::string& address : addresses) names += ",IP:" + address;
  addExtension(certificate, NID_subject_alt_name, names);
  addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
  addExtension(certificate, NID_key_usage, "critical,digitalSignature,keyCertSign");
  addExtension(certificate, NID_ext_key_usage, "serverAuth");
  addExtension(certificate, NID_subject_key_identifier, "hash");
  if (X509_sign(certificate, made.key(), EVP_sha256()) == 0) fail("No certificate can be made.");
  return made;
}

void Certificate::use(SSL_CTX* context) const {
  if (SSL_CTX_use_certificate(context, certificate()) != 1 ||
      SSL_CTX_use_PrivateKey(context, key()) != 1) {
    fail("The certificate is not fit for TLS.");
  }
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
}

std::string Certificate::pem() const {
  const Memory memory{BIO_new(BIO_s_mem()), &BIO_free};
  PEM_write_bio_X509(memory.get(), certificate());
  char* text = nullptr;
  const long length = BIO_get_mem_data(memory.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

}  // namespace tessel::hub
