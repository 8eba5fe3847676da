#include "platform/posix/net/Connector.h"

#include <cassert>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <utility>

#include "platform/posix/net/NetworkError.h"

namespace tessel::platform {
namespace {

using asio::ip::tcp;

std::optional<std::uint16_t> portNumber(const std::string& text) {
  std::uint16_t number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || rest != end || number == 0) return std::nullopt;
  return number;
}

Error resolverError(const asio::error_code& error) {
  const bool fromResolver = error.category() == asio::error::get_netdb_category() ||
                            error.category() == asio::error::get_addrinfo_category();
  if (!fromResolver) return networkError(error.value());
  return {kNetworkErrorDomain, -error.value(), error.message()};  // below zero: not an errno value
}

}  // namespace

Connector::Connector(std::shared_ptr<AsioQueue> queue, Endpoint endpoint)
    : queue_{std::move(queue)},
      endpoint_{std::move(endpoint)},
      resolver_{queue_->context()},
      socket_{queue_->context()},
      attemptTimer_{queue_->context()} {}

void Connector::start(std::chrono::steady_clock::time_point deadline, Handler handler) {
  assert(queue_->isCurrent());
  deadline_ = deadline;
  handler_ = std::move(handler);
  const auto port = portNumber(endpoint_.port);
  if (!port || endpoint_.host.empty()) {
    error_ = networkError(EINVAL);
    queue_->async([self = shared_from_this()] { self->tryNext(); });
    return;
  }
  asio::error_code notAnAddress;
  const auto address = asio::ip::make_address(endpoint_.host, notAnAddress);
  if (notAnAddress) {
    resolve();
  } else {
    addresses_ = {{address, *port}};
    queue_->async([self = shared_from_this()] { self->tryNext(); });
  }
}

void Connector::cancel() {
  assert(queue_->isCurrent());
  handler_ = nullptr;
  resolver_.cancel();
  attemptTimer_.cancel();
  asio::error_code ignored;
  socket_.close(ignored);
}

void Connector::resolve() {
  assert(queue_->isCurrent());
  // A look-up cannot be stopped, so it must not keep the connection alive until it ends.
  resolver_.async_resolve(
      endpoint_.host, endpoint_.port, tcp::resolver::numeric_service,
      [weak = weak_from_this()](const asio::error_code& error, const auto& found) {
        const auto self = weak.lock();
        if (!self) return;
        if (error) self->error_ = resolverError(error);
        for (const auto& entry : found) self->addresses_.push_back(entry.endpoint());
        self->tryNext();
      });
}

void Connector::tryNext() {
  assert(queue_->isCurrent());
  if (!handler_) return;
  if (attempt_ == addresses_.size()) {
    finish(error_);
    return;
  }
  const auto left = addresses_.size() - attempt_;
  const Address& address = addresses_[attempt_];
  const auto attempt = ++attempt_;
  asio::error_code ignored;
  socket_.close(ignored);
  if (left > 1) {  // the last one may take all the time that is left
    const auto now = std::chrono::steady_clock::now();
    attemptTimer_.expires_at(now + (deadline_ - now) / static_cast<long>(left));
    attemptTimer_.async_wait([self = shared_from_this(), attempt](const asio::error_code& error) {
      if (!error) self->giveUpOn(attempt, networkError(ETIMEDOUT));
    });
  }
  socket_.async_connect(address, [self = shared_from_this(), attempt](const asio::error_code& e) {
    self->finishAttempt(attempt, e);
  });
}

void Connector::finishAttempt(std::size_t attempt, const asio::error_code& error) {
  assert(queue_->isCurrent());
  if (error) {
    giveUpOn(attempt, networkError(error.value()));
  } else if (handler_ && attempt == attempt_ && socket_.is_open()) {
    asio::error_code ignored;
    socket_.set_option(tcp::no_delay{true}, ignored);
    socket_.non_blocking(true, ignored);
    finish(std::nullopt);
  }
}

// An attempt that was already given up ends a second time, which is ignored.
void Connector::giveUpOn(std::size_t attempt, Error error) {
  assert(queue_->isCurrent());
  if (!handler_ || attempt != attempt_) return;
  // A refusal is more telling than an address family that this machine lacks.
  if (!error_ || error_->code != kConnectionRefused) error_ = std::move(error);
  attemptTimer_.cancel();
  tryNext();
}

void Connector::finish(std::optional<Error> error) {
  assert(queue_->isCurrent());
  attemptTimer_.cancel();
  const auto handler = std::exchange(handler_, nullptr);
  handler(std::move(error), std::move(socket_));
}

}  // namespace tessel::platform
