#include "apps/tessel-hub/channels/ChannelStream.h"

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/ssl/stream.hpp>
#include <asio/write.hpp>
#include <deque>
#include <type_traits>
#include <utility>
#include <vector>

namespace tessel::hub {
namespace {

using Socket = asio::ip::tcp::socket;
using TlsSocket = asio::ssl::stream<Socket>;

// Acknowledgements and input records are a few bytes each: with this much unsent the peer has
// stopped reading.
constexpr std::size_t kMaxUnsentBytes = std::size_t{256} << 10;

std::string peerAddress(const Socket& socket) {
  asio::error_code error;
  const Socket::endpoint_type peer = socket.remote_endpoint(error);
  return error ? std::string{} : peer.address().to_string();
}

template <class Stream>
class SocketStream final : public ChannelStream,
                           public std::enable_shared_from_this<SocketStream<Stream>> {
 public:
  template <class... Arguments>
  explicit SocketStream(std::string address, Arguments&&... arguments)
      : address_{std::move(address)}, stream_{std::forward<Arguments>(arguments)...} {
    asio::error_code ignored;
    socket().set_option(asio::ip::tcp::no_delay{true}, ignored);
  }

  void handshake(std::function<void(bool)> handler) override {
    if constexpr (std::is_same_v<Stream, TlsSocket>) {
      stream_.async_handshake(asio::ssl::stream_base::server,
                              [self = this->shared_from_this(), handler = std::move(handler)](
                                  const asio::error_code& error) { handler(!error); });
    } else {
      asio::post(stream_.get_executor(), [handler = std::move(handler)] { handler(true); });
    }
  }

  void read(std::span<std::uint8_t> buffer, ReadHandler handler) override {
    stream_.async_read_some(
        asio::buffer(buffer.data(), buffer.size()),
        [self = this->shared_from_this(), handler = std::move(handler)](
            const asio::error_code& error, std::size_t count) { handler(error ? 0 : count); });
  }

  void send(std::span<const std::uint8_t> bytes) override {
    if (!socket().is_open()) return;
    unsent_ += bytes.size();
    if (unsent_ > kMaxUnsentBytes) return close();
    outbox_.emplace_back(bytes.begin(), bytes.end());
    if (outbox_.size() == 1) writeNext();
  }

  // Without close_notify: the peer sees the end of the stream either way, and sending it would wait
  // for a peer that may be gone.
  void close() override {
    asio::error_code ignored;
    socket().shutdown(Socket::shutdown_both, ignored);
    socket().close(ignored);
  }

  const std::string& address() const override { return address_; }

 private:
  Socket& socket() {
    if constexpr (std::is_same_v<Stream, TlsSocket>) {
      return stream_.next_layer();
    } else {
      return stream_;
    }
  }

  void writeNext() {
    asio::async_write(stream_, asio::buffer(outbox_.front()),
                      [self = this->shared_from_this()](const asio::error_code& error,
                                                        std::size_t) { self->written(error); });
  }

  void written(const asio::error_code& error) {
    if (error) return close();
    unsent_ -= outbox_.front().size();
    outbox_.pop_front();
    if (!outbox_.empty()) writeNext();
  }

  const std::string address_;
  Stream stream_;
  std::deque<std::vector<std::uint8_t>> outbox_;  // the first one is being written
  std::size_t unsent_ = 0;
};

}  // namespace

std::shared_ptr<ChannelStream> ChannelStream::plain(Socket socket) {
  std::string address = peerAddress(socket);
  return std::make_shared<SocketStream<Socket>>(std::move(address), std::move(socket));
}

std::shared_ptr<ChannelStream> ChannelStream::tls(Socket socket, asio::ssl::context& context) {
  std::string address = peerAddress(socket);
  return std::make_shared<SocketStream<TlsSocket>>(std::move(address), std::move(socket), context);
}

}  // namespace tessel::hub
