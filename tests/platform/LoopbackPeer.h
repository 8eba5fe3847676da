#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tessel/Types.h"

namespace tessel::test {

/// A file descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_{number} {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  int get() const { return number_; }
  void close();

 private:
  int number_;
};

/// The other end of a connection under test: plain blocking calls, each with a bound of ten
/// seconds, made from the test's own thread.
class LoopbackPeer {
 public:
  explicit LoopbackPeer(Descriptor socket) : socket_{std::move(socket)} {}

  void send(const Bytes& bytes);
  void send(const std::string& text) { send(Bytes{text.begin(), text.end()}); }

  /// Up to `length` bytes: fewer when the stream ends before.
  Bytes receive(std::size_t length);
  std::string receiveText(std::size_t length);

  /// Whether the stream ended as it should: a close, not a reset.
  bool seesEnd();

  void shutdownSending();
  void close() { socket_.close(); }
  /// Closes such that the other side sees a reset.
  void reset();

  int descriptor() const { return socket_.get(); }

 private:
  Descriptor socket_;
};

/// A port of 127.0.0.1 that nobody else has.
class LoopbackListener {
 public:
  /// `backlog` below zero: the port is taken, but nobody listens, so it refuses.
  explicit LoopbackListener(int backlog = 16, int receiveBuffer = 0);

  const std::string& port() const { return port_; }
  LoopbackPeer accept();

 private:
  Descriptor socket_;
  std::string port_;
};

}  // namespace tessel::test
