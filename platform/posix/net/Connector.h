#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/NetworkConnection.h"
#include "platform/posix/net/Asio.h"
#include "platform/posix/net/AsioQueue.h"

namespace tessel::platform {

/// Resolves an endpoint and connects to the first address that accepts. Used on the given queue
/// only; held by a shared pointer, since waits under way hold it too.
class Connector : public std::enable_shared_from_this<Connector> {
 public:
  /// A connected, non-blocking socket, or why there is none. On the queue, once, never within
  /// `start`; not after `cancel`.
  using Handler = std::function<void(std::optional<Error>, asio::ip::tcp::socket)>;

  Connector(std::shared_ptr<AsioQueue> queue, Endpoint endpoint);

  /// `deadline` only decides how long one of several addresses may take: the caller keeps the
  /// deadline itself, by `cancel`.
  void start(std::chrono::steady_clock::time_point deadline, Handler handler);
  void cancel();

 private:
  using Address = asio::ip::tcp::endpoint;

  void resolve();
  void tryNext();
  void finishAttempt(std::size_t attempt, const asio::error_code& error);
  void giveUpOn(std::size_t attempt, Error error);
  void finish(std::optional<Error> error);

  const std::shared_ptr<AsioQueue> queue_;
  const Endpoint endpoint_;
  asio::ip::tcp::resolver resolver_;
  asio::ip::tcp::socket socket_;
  asio::steady_timer attemptTimer_;  // bounds one of several addresses
  std::chrono::steady_clock::time_point deadline_;
  Handler handler_;  // null once called or cancelled
  std::vector<Address> addresses_;
  std::size_t attempt_ = 0;  // the address tried now, plus one
  std::optional<Error> error_;
};

}  // namespace tessel::platform
