#pragma once

#include <cstddef>
#include <memory>
#include <openssl/ssl.h>
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
  explicit LoopbackPeer(Descriptor socket);
  virtual ~LoopbackPeer() = default;

  void send(const Bytes& bytes);
  void send(const std::string& text) { send(Bytes{text.begin(), text.end()}); }

  /// Up to `length` bytes: fewer when the stream ends before.
  Bytes receive(std::size_t length);
  std::string receiveText(std::size_t length);

  /// Whether the stream ended as it should: no reset, nothing cut off.
  virtual bool seesEnd();

  /// Ends its own direction as it should be ended.
  virtual void shutdownSending();
  /// Ends TCP alone, below whatever runs on it.
  void shutdownTcp();
  /// Until the other side's system knows that nothing more comes. After a shutdown.
  void waitUntilEndArrived();

  /// Sends zeros until the peer takes no more; returns how many.
  std::size_t fill();

  void close() { socket_.close(); }
  /// Closes such that the other side sees a reset.
  void reset();

  /// Like the calls of the system: what goes wrong is only told.
  virtual ssize_t sendSome(const std::uint8_t* bytes, std::size_t length);
  virtual ssize_t receiveSome(std::uint8_t* bytes, std::size_t length);

 protected:
  int descriptor() const { return socket_.get(); }

 private:
  Descriptor socket_;
};

/// The same with TLS.
class TlsPeer final : public LoopbackPeer {
 public:
  TlsPeer(Descriptor socket, SSL_CTX* context);
  ~TlsPeer() override;

  /// Whether the other side came through the handshake.
  bool accept();
  /// What the other side asked for by SNI; empty for nothing.
  std::string serverName() const;

  bool seesEnd() override;
  void shutdownSending() override;
  ssize_t sendSome(const std::uint8_t* bytes, std::size_t length) override;
  ssize_t receiveSome(std::uint8_t* bytes, std::size_t length) override;

 private:
  SSL* const ssl_;
};

/// A free port of 127.0.0.1.
class LoopbackListener {
 public:
  /// `backlog` below zero: the port is bound but not listening, so it refuses.
  explicit LoopbackListener(int backlog = 16, int receiveBuffer = 0);

  const std::string& port() const { return port_; }
  Descriptor accept();
  /// A connection made by hand.
  Descriptor connect() const;

 private:
  Descriptor socket_;
  std::string port_;
};

}  // namespace tessel::test
