#include "apps/tessel-hub/channels/ChannelAcceptor.h"

#include <utility>

namespace tessel::hub {
namespace {

constexpr std::chrono::milliseconds kRetryDelay{100};

const char* name(ChannelKind kind) {
  switch (kind) {
    case ChannelKind::kDisplay:
      return "display";
    case ChannelKind::kMouse:
      return "mouse";
    case ChannelKind::kKeyboard:
      return "keyboard";
  }
  return "";
}

}  // namespace

// A connection whose channel is not known yet. Its reads and its timer keep it alive, and with the
// io_context it may outlive the acceptor.
struct ChannelAcceptor::Pending {
  Pending(const ChannelAcceptor& acceptor, std::shared_ptr<ChannelStream> connection)
      : unopened{acceptor.unopened_}, stream{std::move(connection)}, deadline{acceptor.context_} {
    ++*unopened;
  }
  ~Pending() { --*unopened; }
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  std::span<const std::uint8_t> received() const { return std::span{opening}.first(length); }

  const std::shared_ptr<int> unopened;
  std::shared_ptr<ChannelStream> stream;
  asio::steady_timer deadline;
  std::array<std::uint8_t, kNewStartCommand.size()> opening{};
  std::size_t length = 0;
};

ChannelAcceptor::ChannelAcceptor(asio::io_context& context, Settings settings, HubLog& log,
                                 OpenedHandler opened)
    : context_{context},
      settings_{std::move(settings)},
      log_{log},
      opened_{std::move(opened)},
      acceptor_{context},
      retry_{context} {}

void ChannelAcceptor::listen() {
  const asio::ip::tcp::endpoint endpoint{settings_.address, settings_.port};
  acceptor_.open(endpoint.protocol());
  acceptor_.set_option(asio::socket_base::reuse_address{true});
  acceptor_.bind(endpoint);
  acceptor_.listen();
  accept();
}

void ChannelAcceptor::close() {
  asio::error_code ignored;
  acceptor_.close(ignored);
  retry_.cancel();
}

void ChannelAcceptor::accept() {
  acceptor_.async_accept([this](const asio::error_code& error, asio::ip::tcp::socket socket) {
    if (!acceptor_.is_open()) return;
    // Usually out of file descriptors: trying again at once would spin.
    if (error) return retryLater();
    welcome(std::move(socket));
    accept();
  });
}

void ChannelAcceptor::retryLater() {
  retry_.expires_after(kRetryDelay);
  retry_.async_wait([this](const asio::error_code& error) {
    if (!error && acceptor_.is_open()) accept();
  });
}

void ChannelAcceptor::welcome(asio::ip::tcp::socket socket) {
  const std::shared_ptr<ChannelStream> stream =
      settings_.tls != nullptr ? ChannelStream::tls(std::move(socket), *settings_.tls)
                               : ChannelStream::plain(std::move(socket));
  if (*unopened_ >= kMaxUnopened) {
    log_.line("too many connections that say nothing: one from " + stream->address() +
              " was refused");
    return stream->close();
  }
  const auto pending = std::make_shared<Pending>(*this, stream);
  pending->deadline.expires_after(kOpeningTimeout);
  pending->deadline.async_wait([stream](const asio::error_code& error) {
    if (!error) stream->close();
  });
  stream->handshake([this, pending](bool done) {
    if (done) return judge(pending);
    log_.line("a connection from " + pending->stream->address() + " failed to negotiate TLS");
    pending->stream->close();
    pending->deadline.cancel();
  });
}

void ChannelAcceptor::readOpening(const std::shared_ptr<Pending>& pending, std::size_t missing) {
  pending->stream->read(std::span{pending->opening}.subspan(pending->length, missing),
                        [this, pending](std::size_t count) {
                          pending->length += count;
                          if (count > 0) return judge(pending);
                          pending->deadline.cancel();
                          pending->stream->close();
                        });
}

void ChannelAcceptor::judge(const std::shared_ptr<Pending>& pending) {
  const ChannelOpening opening = ChannelOpening::judge(pending->received(), settings_.newProtocol);
  if (opening.verdict == ChannelOpening::Verdict::kIncomplete) {
    return readOpening(pending, opening.missing);
  }
  pending->deadline.cancel();
  if (opening.verdict == ChannelOpening::Verdict::kRefused ||
      (opening.kind == ChannelKind::kDisplay && !settings_.takesDisplay)) {
    log_.line("a connection from " + pending->stream->address() + " to port " +
              std::to_string(settings_.port) + " did not open a channel");
    return pending->stream->close();
  }
  log_.line(std::string{name(opening.kind)} + " channel from " + pending->stream->address());
  opened_(opening.kind, pending->stream);
}

}  // namespace tessel::hub
