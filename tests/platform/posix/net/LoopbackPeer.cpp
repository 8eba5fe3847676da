#include "tests/platform/posix/net/LoopbackPeer.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tessel::test {
namespace {

sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

void bound(int socket) {
  const timeval tenSeconds{10, 0};
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &tenSeconds, sizeof tenSeconds);
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &tenSeconds, sizeof tenSeconds);
}

}  // namespace

Descriptor::~Descriptor() { close(); }

Descriptor::Descriptor(Descriptor&& other) noexcept : number_{std::exchange(other.number_, -1)} {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(number_, other.number_);
  return *this;
}

void Descriptor::close() {
  if (number_ >= 0) ::close(std::exchange(number_, -1));
}

LoopbackPeer::LoopbackPeer(Descriptor socket) : socket_{std::move(socket)} {
  const int atOnce = 1;
  setsockopt(descriptor(), IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof atOnce);
}

void LoopbackPeer::send(const Bytes& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = sendSome(bytes.data() + sent, bytes.size() - sent);
    ASSERT_GT(count, 0);
    sent += static_cast<std::size_t>(count);
  }
}

Bytes LoopbackPeer::receive(std::size_t length) {
  Bytes bytes(length);
  std::size_t received = 0;
  while (received < length) {
    const ssize_t count = receiveSome(bytes.data() + received, length - received);
    EXPECT_GE(count, 0) << "reset, or nothing for ten seconds";
    if (count <= 0) break;
    received += static_cast<std::size_t>(count);
  }
  bytes.resize(received);
  return bytes;
}

std::string LoopbackPeer::receiveText(std::size_t length) {
  const Bytes bytes = receive(length);
  return {bytes.begin(), bytes.end()};
}

bool LoopbackPeer::seesEnd() {
  std::uint8_t byte = 0;
  return recv(descriptor(), &byte, 1, 0) == 0;
}

void LoopbackPeer::shutdownSending() { shutdownTcp(); }

void LoopbackPeer::shutdownTcp() { shutdown(descriptor(), SHUT_WR); }

void LoopbackPeer::waitUntilEndArrived() {
  const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds{10};
  while (std::chrono::steady_clock::now() < bound) {
    tcp_info info{};
    socklen_t size = sizeof info;
    getsockopt(descriptor(), IPPROTO_TCP, TCP_INFO, &info, &size);
    if (info.tcpi_state != TCP_ESTABLISHED && info.tcpi_state != TCP_FIN_WAIT1) return;
    std::this_thread::yield();
  }
  ADD_FAILURE() << "the end was not acknowledged";
}

std::size_t LoopbackPeer::fill() {
  const Bytes zeros(65536);
  std::size_t sent = 0;
  for (;;) {
    const ssize_t count =
        ::send(descriptor(), zeros.data(), zeros.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count <= 0) return sent;
    sent += static_cast<std::size_t>(count);
  }
}

void LoopbackPeer::reset() {
  const linger atOnce{1, 0};
  setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  socket_.close();
}

ssize_t LoopbackPeer::sendSome(const std::uint8_t* bytes, std::size_t length) {
  return ::send(descriptor(), bytes, length, MSG_NOSIGNAL);
}

ssize_t LoopbackPeer::receiveSome(std::uint8_t* bytes, std::size_t length) {
  return recv(descriptor(), bytes, length, 0);
}

TlsPeer::TlsPeer(Descriptor socket, SSL_CTX* context)
    : LoopbackPeer{std::move(socket)}, ssl_{SSL_new(context)} {
  SSL_set_fd(ssl_, descriptor());
  std::signal(SIGPIPE, SIG_IGN);  // OpenSSL's own socket calls would raise it here
}

TlsPeer::~TlsPeer() { SSL_free(ssl_); }

bool TlsPeer::accept() { return SSL_accept(ssl_) == 1; }

std::string TlsPeer::serverName() const {
  const char* name = SSL_get_servername(ssl_, TLSEXT_NAMETYPE_host_name);
  return name != nullptr ? name : "";
}

bool TlsPeer::seesEnd() {
  std::uint8_t byte = 0;
  const int count = SSL_read(ssl_, &byte, 1);
  return count <= 0 && SSL_get_error(ssl_, count) == SSL_ERROR_ZERO_RETURN &&
         LoopbackPeer::seesEnd();
}

void TlsPeer::shutdownSending() {
  SSL_shutdown(ssl_);
  shutdownTcp();
}

ssize_t TlsPeer::sendSome(const std::uint8_t* bytes, std::size_t length) {
  return SSL_write(ssl_, bytes, static_cast<int>(length));
}

ssize_t TlsPeer::receiveSome(std::uint8_t* bytes, std::size_t length) {
  const int count = SSL_read(ssl_, bytes, static_cast<int>(length));
  const bool ended = count <= 0 && SSL_get_error(ssl_, count) == SSL_ERROR_ZERO_RETURN;
  return ended ? 0 : count;
}

LoopbackListener::LoopbackListener(int backlog, int receiveBuffer)
    : socket_{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
  if (receiveBuffer > 0) {
    setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
  bound(socket_.get());
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(bind(socket_.get(), generic(address), sizeof address), 0);
  if (backlog >= 0) {
    EXPECT_EQ(listen(socket_.get(), backlog), 0);
  }
  socklen_t size = sizeof address;
  EXPECT_EQ(getsockname(socket_.get(), generic(address), &size), 0);
  port_ = std::to_string(ntohs(address.sin_port));
}

Descriptor LoopbackListener::accept() {
  Descriptor accepted{accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
  EXPECT_GE(accepted.get(), 0) << "nobody connected for ten seconds";
  bound(accepted.get());
  return accepted;
}

Descriptor LoopbackListener::connect() const {
  Descriptor connected{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port_)));
  EXPECT_EQ(::connect(connected.get(), generic(address), sizeof address), 0);
  return connected;
}

}  // namespace tessel::test
