#include "platform/posix/net/SocketChannel.h"

#include <array>
#include <cassert>
#include <cerrno>
#include <utility>

#include "platform/posix/net/NetworkError.h"

namespace tessel::platform {

using asio::ip::tcp;
using Status = ByteStream::Status;

namespace {

Received withError(const Error& error) {
  Received received;
  received.error = error;
  return received;
}

Received withContent(std::optional<Bytes> content, bool isLast) {
  Received received;
  received.content = std::move(content);
  received.context = ContentContext{isLast};
  received.isComplete = isLast;
  return received;
}

}  // namespace

SocketChannel::SocketChannel(Endpoint endpoint, bool tls, std::shared_ptr<SerialQueue> queue,
                             Clock::Duration timeout)
    : endpoint_{std::move(endpoint)},
      tls_{tls},
      callbackQueue_{std::move(queue)},
      ioQueue_{ioQueueOf(callbackQueue_)},
      timeout_{timeout},
      deadline_{ioQueue_->context()},
      socket_{ioQueue_->context()} {}

void SocketChannel::setStateChangedHandler(NetworkConnection::StateHandler handler) {
  stateHandler_ = std::move(handler);
}

void SocketChannel::start() {
  ioQueue_->async([self = shared_from_this()] { self->connect(); });
}

void SocketChannel::receive(std::size_t length, NetworkConnection::ReceiveHandler handler) {
  if (length == 0) {
    callbackQueue_->async([handler = std::move(handler)] { handler({}); });
    return;
  }
  ioQueue_->async([self = shared_from_this(), length, handler = std::move(handler)]() mutable {
    self->receives_.push_back({length, std::move(handler), {}, 0});
    self->readReady();
  });
}

void SocketChannel::send(const void* bytes, std::size_t length) {
  if (!sends_.add(bytes, length)) return;
  ioQueue_->async([self = shared_from_this()] { self->writeReady(); });
}

void SocketChannel::cancel() {
  if (cancelRequested_.exchange(true)) return;
  ioQueue_->async([self = shared_from_this()] {
    self->end(ConnectionState::kCancelled, networkError(ECANCELED));
  });
}

void SocketChannel::connect() {
  assert(ioQueue_->isCurrent());
  if (phase_ != Phase::kIdle || cancelRequested_) return;
  phase_ = Phase::kConnecting;
  const auto deadline = std::chrono::steady_clock::now() + timeout_;
  deadline_.expires_at(deadline);
  deadline_.async_wait([self = shared_from_this()](const asio::error_code& error) {
    if (!error) self->failToConnect(networkError(ETIMEDOUT));
  });
  connector_ = std::make_shared<Connector>(ioQueue_, endpoint_);
  connector_->start(deadline,
                    [self = shared_from_this()](std::optional<Error> error, tcp::socket socket) {
                      self->handleConnected(std::move(error), std::move(socket));
                    });
  report(ConnectionState::kPreparing, std::nullopt);
}

void SocketChannel::handleConnected(std::optional<Error> error, tcp::socket socket) {
  assert(ioQueue_->isCurrent());
  if (phase_ != Phase::kConnecting || cancelRequested_) return;
  if (error) {
    failToConnect(*error);
    return;
  }
  socket_ = std::move(socket);
  stream_ = tls_ ? makeTlsStream(socket_.native_handle(), endpoint_.host)
                 : makePlainStream(socket_.native_handle());
  phase_ = Phase::kHandshake;
  handshake();
}

void SocketChannel::handshake() {
  assert(ioQueue_->isCurrent());
  const auto result = stream_->handshake();
  switch (result.status) {
    case Status::kDone:
      phase_ = Phase::kOpen;
      deadline_.cancel();
      report(ConnectionState::kReady, std::nullopt);
      readReady();
      writeReady();
      return;
    case Status::kWantsRead:
    case Status::kWantsWrite:
      waitFor(result.status, Direction::kIn);
      return;
    case Status::kClosed:
      failToConnect(networkError(ECONNRESET));
      return;
    case Status::kFailed:
      end(ConnectionState::kFailed, *result.error);
      return;
  }
}

void SocketChannel::failToConnect(const Error& error) {
  assert(ioQueue_->isCurrent());
  if (phase_ != Phase::kConnecting && phase_ != Phase::kHandshake) return;
  if (cancelRequested_) return;
  report(ConnectionState::kWaiting, error);
  end(ConnectionState::kFailed, error);
}

void SocketChannel::end(ConnectionState state, const Error& error) {
  assert(ioQueue_->isCurrent());
  if (phase_ == Phase::kEnded) return;
  // A cancel under way hides a failure.
  if (cancelRequested_ && state != ConnectionState::kCancelled) return;
  endError_ = error;
  phase_ = Phase::kEnded;
  deadline_.cancel();
  if (connector_) connector_->cancel();
  sends_.close();
  closeSocket(state == ConnectionState::kCancelled);
  for (auto& receive : std::exchange(receives_, {})) {
    complete(std::move(receive.handler), withError(error));
  }
  report(state, error);
  stateHandler_ = nullptr;
}

void SocketChannel::closeSocket(bool cleanly) {
  assert(ioQueue_->isCurrent());
  if (stream_ && cleanly) {
    stream_->close();
    // With bytes left unread the close would become a reset, which discards what the peer has not
    // read yet. The number of reads is bounded: a peer that never stops gets the reset.
    constexpr int kMaxReads = 64;
    std::array<std::uint8_t, 4096> unread;
    for (int i = 0; i < kMaxReads; ++i) {
      asio::error_code nothingLeft;
      if (socket_.read_some(asio::buffer(unread), nothingLeft); nothingLeft) break;
    }
  }
  stream_ = nullptr;
  asio::error_code ignored;
  socket_.close(ignored);
}

// Serves the receives in order, as far as the bytes reach.
void SocketChannel::readReady() {
  assert(ioQueue_->isCurrent());
  if (phase_ == Phase::kEnded) {
    for (auto& receive : std::exchange(receives_, {})) {
      complete(std::move(receive.handler), withError(endError_));
    }
    return;
  }
  while (phase_ == Phase::kOpen && !readWaits_ && !receives_.empty() && !cancelRequested_) {
    if (peerClosed_) {
      completeFront(withContent(std::nullopt, true));
    } else if (!fillFront()) {
      return;
    }
  }
}

// Reads for the first receive. Whether there may be more to do.
bool SocketChannel::fillFront() {
  assert(ioQueue_->isCurrent());
  PendingReceive& front = receives_.front();
  front.content.resize(front.length);
  const auto result = stream_->read(std::span{front.content}.subspan(front.filled));
  switch (result.status) {
    case Status::kDone:
      front.filled += result.bytes;
      if (front.filled == front.length) {
        peerClosed_ = stream_->atEnd();
        completeFront(withContent(std::move(front.content), peerClosed_));
      }
      return true;
    case Status::kWantsRead:
    case Status::kWantsWrite:
      waitFor(result.status, Direction::kIn);
      return false;
    case Status::kClosed:
      peerClosed_ = true;
      return true;
    case Status::kFailed:
      end(ConnectionState::kFailed, *result.error);
      return false;
  }
  return false;
}

void SocketChannel::completeFront(Received received) {
  assert(ioQueue_->isCurrent());
  auto handler = std::move(receives_.front().handler);
  receives_.pop_front();
  complete(std::move(handler), std::move(received));
}

void SocketChannel::writeReady() {
  assert(ioQueue_->isCurrent());
  while (phase_ == Phase::kOpen && !writeWaits_ && !cancelRequested_) {
    const auto pieces = sends_.next();
    if (pieces.empty()) return;
    const auto result = stream_->write(pieces);
    switch (result.status) {
      case Status::kDone:
        sends_.remove(result.bytes);
        break;
      case Status::kWantsRead:
      case Status::kWantsWrite:
        waitFor(result.status, Direction::kOut);
        return;
      case Status::kClosed:
      case Status::kFailed:
        end(ConnectionState::kFailed, result.error.value_or(networkError(EPIPE)));
        return;
    }
  }
}

// Resumes reading or writing, as `direction` says, once the socket is ready for what `status`
// wants.
void SocketChannel::waitFor(ByteStream::Status status, Direction direction) {
  assert(ioQueue_->isCurrent());
  (direction == Direction::kIn ? readWaits_ : writeWaits_) = true;
  const auto ready =
      status == Status::kWantsRead ? tcp::socket::wait_read : tcp::socket::wait_write;
  socket_.async_wait(ready, [self = shared_from_this(), direction](const asio::error_code&) {
    self->resumeAfterWait(direction);
  });
}

void SocketChannel::resumeAfterWait(Direction direction) {
  assert(ioQueue_->isCurrent());
  (direction == Direction::kIn ? readWaits_ : writeWaits_) = false;
  if (phase_ == Phase::kHandshake && !cancelRequested_) {
    handshake();
  } else if (phase_ == Phase::kOpen && direction == Direction::kIn) {
    readReady();
  } else if (phase_ == Phase::kOpen) {
    writeReady();
  }
}

void SocketChannel::report(ConnectionState state, const std::optional<Error>& error) {
  assert(ioQueue_->isCurrent());
  if (!stateHandler_) return;
  if (ioQueue_ == callbackQueue_) {
    stateHandler_(state, error);
  } else {
    callbackQueue_->async([handler = stateHandler_, state, error] { handler(state, error); });
  }
}

void SocketChannel::complete(NetworkConnection::ReceiveHandler handler, Received received) {
  assert(ioQueue_->isCurrent());
  if (ioQueue_ == callbackQueue_) {
    handler(received);
  } else {
    callbackQueue_->async(
        [handler = std::move(handler), received = std::move(received)] { handler(received); });
  }
}

}  // namespace tessel::platform
