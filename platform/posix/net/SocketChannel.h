#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <optional>

#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "platform/posix/net/AsioQueue.h"
#include "platform/posix/net/ByteStream.h"
#include "platform/posix/net/Connector.h"
#include "platform/posix/net/SendQueue.h"

namespace tessel::platform {

/// One connection's socket and its state. Runs on `ioQueue_`, which for most queues is
/// `callbackQueue_` itself; every wait under way holds the channel, so it lives until it has ended.
///
/// The socket is read only while a receive asks for bytes: TCP's flow control holds back a peer
/// that sends more, so nothing is buffered here without bound.
class SocketChannel : public std::enable_shared_from_this<SocketChannel> {
 public:
  SocketChannel(Endpoint endpoint, bool tls, std::shared_ptr<SerialQueue> queue,
                Clock::Duration timeout);

  // The operations of NetworkConnection. Any thread.
  void setStateChangedHandler(NetworkConnection::StateHandler handler);
  void start();
  void receive(std::size_t length, NetworkConnection::ReceiveHandler handler);
  void send(const void* bytes, std::size_t length);
  std::size_t unsentBytes() const { return sends_.size(); }
  void cancel();

 private:
  enum class Phase { kIdle, kConnecting, kHandshake, kOpen, kEnded };
  enum class Direction { kIn, kOut };

  struct PendingReceive {
    std::size_t length = 0;
    NetworkConnection::ReceiveHandler handler;
    Bytes content;           // `length` long once the first bytes are there to be read
    std::size_t filled = 0;  // of it
  };

  // All of these on ioQueue_.
  void connect();
  void handleConnected(std::optional<Error> error, asio::ip::tcp::socket socket);
  void handshake();
  void failToConnect(const Error& error);
  void end(ConnectionState state, const Error& error);
  void closeSocket(bool cleanly);

  void readReady();
  bool fillFront();
  void completeFront(Received received);
  void writeReady();
  void waitFor(ByteStream::Status status, Direction direction);
  void resumeAfterWait(Direction direction);

  void report(ConnectionState state, const std::optional<Error>& error);
  void complete(NetworkConnection::ReceiveHandler handler, Received received);

  const Endpoint endpoint_;
  const bool tls_;
  const std::shared_ptr<SerialQueue> callbackQueue_;  // runs the handlers
  const std::shared_ptr<AsioQueue> ioQueue_;
  const Clock::Duration timeout_;
  std::atomic<bool> cancelRequested_ = false;
  SendQueue sends_;  // any thread

  // On ioQueue_ only.
  Phase phase_ = Phase::kIdle;
  NetworkConnection::StateHandler stateHandler_;  // set before the start
  std::deque<PendingReceive> receives_;
  std::shared_ptr<Connector> connector_;
  asio::steady_timer deadline_;
  asio::ip::tcp::socket socket_;
  std::unique_ptr<ByteStream> stream_;
  bool peerClosed_ = false;
  bool readWaits_ = false;
  bool writeWaits_ = false;
  Error endError_;  // why it ended
};

}  // namespace tessel::platform
