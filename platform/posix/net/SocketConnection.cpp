#include "platform/posix/net/SocketConnection.h"

#include <utility>

#include "platform/posix/net/SocketChannel.h"

namespace tessel::platform {

SocketConnection::SocketConnection(const Endpoint& endpoint, bool tls,
                                   const std::shared_ptr<SerialQueue>& queue,
                                   Clock::Duration timeout)
    : channel_{std::make_shared<SocketChannel>(endpoint, tls, queue, timeout)} {}

SocketConnection::~SocketConnection() { channel_->cancel(); }

void SocketConnection::setStateChangedHandler(StateHandler handler) {
  channel_->setStateChangedHandler(std::move(handler));
}

void SocketConnection::start() { channel_->start(); }

void SocketConnection::receive(std::size_t length, ReceiveHandler handler) {
  channel_->receive(length, std::move(handler));
}

void SocketConnection::send(const void* bytes, std::size_t length) {
  channel_->send(bytes, length);
}

std::size_t SocketConnection::unsentBytes() const { return channel_->unsentBytes(); }

void SocketConnection::cancel() { channel_->cancel(); }

}  // namespace tessel::platform
