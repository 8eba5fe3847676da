#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <string>
#include <sys/socket.h>

#include "platform/NetworkConnection.h"
#include "platform/posix/net/ByteStream.h"
#include "platform/posix/net/NetworkError.h"

namespace tessel::platform {
namespace {

template <auto free>
struct Freed {
  template <typename T>
  void operator()(T* handle) const {
    free(handle);
  }
};

// A BIO over the socket. OpenSSL's own socket BIO writes without MSG_NOSIGNAL, and a library must
// not raise SIGPIPE in its host.
struct Transport {
  int socket = -1;
  int error = 0;       // errno of the call that failed
  bool ended = false;  // TCP ended
};

Transport& transportOf(BIO* bio) { return *static_cast<Transport*>(BIO_get_data(bio)); }

int outcome(BIO* bio, ssize_t count, int retryFlags) {
  BIO_clear_retry_flags(bio);
  if (count >= 0) return static_cast<int>(count);
  if (errno == EAGAIN || errno == EINTR) {
    BIO_set_flags(bio, retryFlags | BIO_FLAGS_SHOULD_RETRY);
  } else {
    transportOf(bio).error = errno;
  }
  return -1;
}

int readTransport(BIO* bio, char* into, int length) {
  Transport& transport = transportOf(bio);
  const ssize_t count = recv(transport.socket, into, static_cast<std::size_t>(length), 0);
  if (count == 0) transport.ended = true;
  return outcome(bio, count, BIO_FLAGS_READ);
}

int writeTransport(BIO* bio, const char* bytes, int length) {
  return outcome(
      bio, ::send(transportOf(bio).socket, bytes, static_cast<std::size_t>(length), MSG_NOSIGNAL),
      BIO_FLAGS_WRITE);
}

long controlTransport(BIO* bio, int command, long /*number*/, void* /*pointer*/) {
  if (command == BIO_CTRL_FLUSH) return 1;
  if (command == BIO_CTRL_EOF) return transportOf(bio).ended ? 1 : 0;
  return 0;
}

BIO* makeTransportBio(Transport& transport) {
  static const BIO_METHOD* const method = [] {
    BIO_METHOD* made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "tessel socket");
    BIO_meth_set_read(made, readTransport);
    BIO_meth_set_write(made, writeTransport);
    BIO_meth_set_ctrl(made, controlTransport);
    return made;
  }();
  BIO* bio = BIO_new(method);
  BIO_set_data(bio, &transport);
  BIO_set_init(bio, 1);
  return bio;
}

bool isAddress(const std::string& host) {
  std::array<std::uint8_t, sizeof(in6_addr)> address;
  return inet_pton(AF_INET, host.c_str(), address.data()) == 1 ||
         inet_pton(AF_INET6, host.c_str(), address.data()) == 1;
}

class TlsStream final : public ByteStream {
 public:
  TlsStream(int socket, const std::string& host) : transport_{.socket = socket} {
    ERR_clear_error();
    // The trust store is read for every connection, so a change of it needs no restart.
    context_.reset(SSL_CTX_new(TLS_client_method()));
    if (!context_ || SSL_CTX_set_default_verify_paths(context_.get()) != 1) return;
    SSL_CTX_set_min_proto_version(context_.get(), TLS1_2_VERSION);
    SSL_CTX_set_verify(context_.get(), SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_options(context_.get(), SSL_OP_NO_RENEGOTIATION);
    // The unsent bytes may be at another address, and more, at the next attempt.
    SSL_CTX_set_mode(context_.get(), SSL_MODE_ENABLE_PARTIAL_WRITE |
                                         SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER |
                                         SSL_MODE_RELEASE_BUFFERS);
    ssl_.reset(SSL_new(context_.get()));
    if (!ssl_) return;
    BIO* bio = makeTransportBio(transport_);
    SSL_set_bio(ssl_.get(), bio, bio);
    usable_ = expectHost(host);
  }

  Result handshake() override {
    if (!usable_) return failure(SSL_ERROR_SSL);
    ERR_clear_error();
    Result result = outcomeOf(SSL_connect(ssl_.get()), 0);
    // A peer that closes during the handshake has failed it.
    if (result.status == Status::kClosed) return failure(SSL_ERROR_SSL);
    established_ = result.status == Status::kDone;
    return result;
  }

  Result read(std::span<std::uint8_t> into) override {
    ERR_clear_error();
    std::size_t count = 0;
    const int done = SSL_read_ex(ssl_.get(), into.data(), into.size(), &count);
    return outcomeOf(done, count);
  }

  // Gathers small pieces into one record.
  Result write(std::span<const iovec> pieces) override {
    std::span bytes{static_cast<const std::uint8_t*>(pieces[0].iov_base), pieces[0].iov_len};
    if (bytes.size() < gathered_.size() && pieces.size() > 1) bytes = gather(pieces);
    ERR_clear_error();
    std::size_t count = 0;
    const int done = SSL_write_ex(ssl_.get(), bytes.data(), bytes.size(), &count);
    return outcomeOf(done, count);
  }

  bool atEnd() override {
    ERR_clear_error();
    std::uint8_t next = 0;
    std::size_t count = 0;
    const int peeked = SSL_peek_ex(ssl_.get(), &next, 1, &count);
    return peeked <= 0 && SSL_get_error(ssl_.get(), peeked) == SSL_ERROR_ZERO_RETURN;
  }

  void close() override {
    ERR_clear_error();
    if (established_) SSL_shutdown(ssl_.get());
    shutdown(transport_.socket, SHUT_WR);
  }

 private:
  bool expectHost(const std::string& host) {
    X509_VERIFY_PARAM* expected = SSL_get0_param(ssl_.get());
    if (isAddress(host)) return X509_VERIFY_PARAM_set1_ip_asc(expected, host.c_str()) == 1;
    X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    return X509_VERIFY_PARAM_set1_host(expected, host.c_str(), host.size()) == 1 &&
           SSL_set_tlsext_host_name(ssl_.get(), host.c_str()) == 1;
  }

  std::span<const std::uint8_t> gather(std::span<const iovec> pieces) {
    std::size_t filled = 0;
    for (const iovec& piece : pieces) {
      const auto count = std::min(piece.iov_len, gathered_.size() - filled);
      std::memcpy(gathered_.data() + filled, piece.iov_base, count);
      filled += count;
    }
    return std::span{gathered_}.first(filled);
  }

  Result outcomeOf(int returned, std::size_t bytes) {
    if (returned > 0) return {.bytes = bytes};
    const int reason = SSL_get_error(ssl_.get(), returned);
    switch (reason) {
      case SSL_ERROR_WANT_READ:
        return {.status = Status::kWantsRead};
      case SSL_ERROR_WANT_WRITE:
        return {.status = Status::kWantsWrite};
      case SSL_ERROR_ZERO_RETURN:
        return {.status = Status::kClosed};
      default:
        return failure(reason);
    }
  }

  Result failure(int reason) {
    established_ = false;  // after a failure SSL_shutdown must not be called
    return {.status = Status::kFailed, .error = errorFor(reason)};
  }

  Error errorFor(int reason) const {
    if (transport_.error != 0) return networkError(transport_.error);
    const unsigned long code = ERR_peek_last_error();
    if (transport_.ended || reason != SSL_ERROR_SSL || code == 0) {
      return {kNetworkErrorDomain,
              static_cast<long>(ERR_PACK(ERR_LIB_SSL, 0, SSL_R_UNEXPECTED_EOF_WHILE_READING)),
              "the connection ended in the middle of TLS"};
    }
    const char* text = ERR_reason_error_string(code);
    std::string description = text != nullptr ? text : "TLS failed";
    if (const long verified = ssl_ ? SSL_get_verify_result(ssl_.get()) : X509_V_OK;
        verified != X509_V_OK) {
      description += std::string{": "} + X509_verify_cert_error_string(verified);
    }
    return {kNetworkErrorDomain, static_cast<long>(code), description};
  }

  Transport transport_;
  std::unique_ptr<SSL_CTX, Freed<SSL_CTX_free>> context_;
  std::unique_ptr<SSL, Freed<SSL_free>> ssl_;
  bool usable_ = false;
  bool established_ = false;
  std::array<std::uint8_t, SSL3_RT_MAX_PLAIN_LENGTH> gathered_;  // of several small pieces
};

}  // namespace

std::unique_ptr<ByteStream> makeTlsStream(int socket, const std::string& host) {
  return std::make_unique<TlsStream>(socket, host);
}

}  // namespace tessel::platform
