#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ssl/context.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace tessel::hub {

/// A connection that a sender has opened to this hub, with or without TLS.
///
/// Runs on the thread of its io_context: every call and every handler is made there. A handler is
/// never called from within the call that takes it. An operation under way keeps the stream alive;
/// `close` ends them all.
class ChannelStream {
 public:
  /// `count` bytes have arrived; 0 at the end of the stream, orderly or not.
  using ReadHandler = std::function<void(std::size_t count)>;

  virtual ~ChannelStream() = default;

  /// Negotiates TLS; a plain stream has nothing to do.
  virtual void handshake(std::function<void(bool done)> handler) = 0;
  /// Reads at least one byte into `buffer`, which the caller keeps alive until `handler` is called.
  /// One read at a time.
  virtual void read(std::span<std::uint8_t> buffer, ReadHandler handler) = 0;
  /// Sends a copy of `bytes` behind everything sent before. Closes the stream when its peer leaves
  /// too much unread.
  virtual void send(std::span<const std::uint8_t> bytes) = 0;
  virtual void close() = 0;

  /// The peer's address, without its port.
  virtual const std::string& address() const = 0;

  static std::shared_ptr<ChannelStream> plain(asio::ip::tcp::socket socket);
  static std::shared_ptr<ChannelStream> tls(asio::ip::tcp::socket socket,
                                            asio::ssl::context& context);
};

}  // namespace tessel::hub
