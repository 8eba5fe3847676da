#include "tests/support/SimNetwork.h"

#include <utility>

namespace tessel::test {

using platform::ConnectionState;
using platform::ContentContext;
using platform::Received;

SimConnection::SimConnection(platform::Endpoint to, bool withTls,
                             std::shared_ptr<platform::SerialQueue> queue)
    : endpoint{std::move(to)}, tls{withTls}, queue_{std::move(queue)} {}

Bytes SimConnection::sent() const {
  Bytes all;
  for (const Bytes& one : sends) all.insert(all.end(), one.begin(), one.end());
  return all;
}

void SimConnection::becomeReady() { enterState(ConnectionState::kReady); }

void SimConnection::refuse() {
  const Error error{platform::kNetworkErrorDomain, platform::kConnectionRefused,
                    "Connection refused"};
  enterState(ConnectionState::kWaiting, error);
  enterState(ConnectionState::kFailed, error);
}

void SimConnection::enterState(ConnectionState state, std::optional<Error> error) {
  queue_->async([self = shared_from_this(), state, error = std::move(error)] {
    const auto handler = self->stateHandler_;
    if (state == ConnectionState::kFailed || state == ConnectionState::kCancelled) {
      self->stateHandler_ = nullptr;
    }
    if (handler) handler(state, error);
  });
}

void SimConnection::deliver(const Bytes& bytes) {
  incoming_.insert(incoming_.end(), bytes.begin(), bytes.end());
  serve();
}

void SimConnection::deliverAndClose(const Bytes& bytes) {
  closed_ = true;
  deliver(bytes);
}

void SimConnection::close() {
  closed_ = true;
  serve();
}

void SimConnection::breakWith(const Error& error) {
  broken_ = error;
  serve();
}

bool SimConnection::completeReceive(const Received& received) {
  if (open_.empty()) return false;
  auto handler = std::move(open_.front().handler);
  open_.pop_front();
  complete(std::move(handler), received);
  return true;
}

void SimConnection::setStateChangedHandler(StateHandler handler) {
  stateHandler_ = std::move(handler);
}

void SimConnection::start() {
  started = true;
  if (onStart_) onStart_(*this);
}

void SimConnection::receive(std::size_t length, ReceiveHandler handler) {
  ++receives;
  if (length == 0) {
    complete(std::move(handler), {});
    return;
  }
  open_.push_back({length, std::move(handler)});
  serve();
}

void SimConnection::send(const void* bytes, std::size_t length) {
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  sends.emplace_back(first, first + length);
}

void SimConnection::cancel() {
  if (std::exchange(cancelled, true)) return;
  if (onCancel) onCancel();
  breakWith({platform::kNetworkErrorDomain, 89, "Operation canceled"});
  enterState(ConnectionState::kCancelled);
}

void SimConnection::complete(ReceiveHandler handler, Received received) {
  queue_->async(
      [handler = std::move(handler), received = std::move(received)] { handler(received); });
}

void SimConnection::serve() {
  while (!open_.empty()) {
    const std::size_t length = open_.front().length;
    Received received;
    if (!broken_ && incoming_.size() >= length) {
      const auto end = incoming_.begin() + static_cast<std::ptrdiff_t>(length);
      received.content = Bytes{incoming_.begin(), end};
      incoming_.erase(incoming_.begin(), end);
      received.isComplete = closed_ && incoming_.empty();
      received.context = ContentContext{received.isComplete};
    } else if (broken_) {
      received.error = broken_;
    } else if (closed_) {
      received.isComplete = true;
      received.context = ContentContext{true};
    } else {
      return;
    }
    completeReceive(received);
  }
}

std::shared_ptr<SimConnection> SimNetwork::last() const {
  return connections.empty() ? nullptr : connections.back();
}

std::shared_ptr<platform::NetworkConnection> SimNetwork::makeConnection(
    const platform::Endpoint& endpoint, bool tls,
    const std::shared_ptr<platform::SerialQueue>& queue) {
  auto connection = std::make_shared<SimConnection>(endpoint, tls, queue);
  connection->onStart_ = onStart;
  connections.push_back(connection);
  return connection;
}

}  // namespace tessel::test
