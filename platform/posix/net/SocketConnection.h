#pragma once

#include <memory>

#include "platform/NetworkConnection.h"
#include "platform/Queues.h"

namespace tessel::platform {

/// A connection over a TCP socket, with TLS or without. Any thread; see SocketChannel, which does
/// the work and may outlive this by the time it takes to end.
class SocketConnection final : public NetworkConnection {
 public:
  SocketConnection(const Endpoint& endpoint, bool tls, const std::shared_ptr<SerialQueue>& queue,
                   Clock::Duration timeout);
  ~SocketConnection() override;
  SocketConnection(const SocketConnection&) = delete;
  SocketConnection& operator=(const SocketConnection&) = delete;

  void setStateChangedHandler(StateHandler handler) override;
  void start() override;
  void receive(std::size_t length, ReceiveHandler handler) override;
  void send(const void* bytes, std::size_t length) override;
  std::size_t unsentBytes() const override;
  void cancel() override;

 private:
  const std::shared_ptr<class SocketChannel> channel_;
};

}  // namespace tessel::platform
