#include "tests/platform/LoopbackPeer.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
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

void LoopbackPeer::send(const Bytes& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count =
        ::send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    ASSERT_GT(count, 0);
    sent += static_cast<std::size_t>(count);
  }
}

Bytes LoopbackPeer::receive(std::size_t length) {
  Bytes bytes(length);
  std::size_t received = 0;
  while (received < length) {
    const ssize_t count = recv(socket_.get(), bytes.data() + received, length - received, 0);
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
  return recv(socket_.get(), &byte, 1, 0) == 0;
}

void LoopbackPeer::shutdownSending() { shutdown(socket_.get(), SHUT_WR); }

void LoopbackPeer::reset() {
  const linger atOnce{1, 0};
  setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  socket_.close();
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

LoopbackPeer LoopbackListener::accept() {
  Descriptor accepted{accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
  EXPECT_GE(accepted.get(), 0) << "nobody connected for ten seconds";
  bound(accepted.get());
  return LoopbackPeer{std::move(accepted)};
}

}  // namespace tessel::test
