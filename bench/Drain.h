#pragma once

#include <array>
#include <netinet/in.h>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace tessel::bench {

/// A receiver on loopback that takes one connection and throws away what comes.
class Drain {
 public:
  Drain() : listening_{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (bind(listening_, reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        listen(listening_, 1) != 0 ||
        getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      return;
    }
    port_ = std::to_string(ntohs(address.sin_port));
    thread_ = std::thread{[this] { run(); }};
  }
  ~Drain() {
    shutdown(listening_, SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
    close(listening_);
  }
  Drain(const Drain&) = delete;
  Drain& operator=(const Drain&) = delete;

  /// Empty when there is no socket to be had.
  const std::string& port() const { return port_; }

 private:
  void run() const {
    pthread_setname_np(pthread_self(), "bench-drain");
    const int connection = accept(listening_, nullptr, nullptr);
    std::array<char, 1 << 16> bytes;
    while (connection >= 0 && read(connection, bytes.data(), bytes.size()) > 0) {
    }
    if (connection >= 0) close(connection);
  }

  const int listening_;
  std::string port_;
  std::thread thread_;
};

}  // namespace tessel::bench
