#pragma once

#include <array>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ssl/context.hpp>
#include <asio/steady_timer.hpp>
#include <functional>
#include <memory>

#include "apps/tessel-hub/channels/ChannelOpening.h"
#include "apps/tessel-hub/channels/ChannelStream.h"
#include "apps/tessel-hub/report/HubLog.h"

namespace tessel::hub {

/// Listens on one port, reads each connection's opening message and hands the channel on. A
/// connection without one within `kOpeningTimeout` is closed, and so is one that comes while
/// `kMaxUnopened` are without.
///
/// Runs on the thread of its io_context; `listen` is called before that runs.
class ChannelAcceptor {
 public:
  using OpenedHandler = std::function<void(ChannelKind, std::shared_ptr<ChannelStream>)>;

  static constexpr std::chrono::seconds kOpeningTimeout{10};
  static constexpr int kMaxUnopened = 16;

  struct Settings {
    asio::ip::address address;
    std::uint16_t port = 0;
    bool newProtocol = false;
    /// Whether a display channel may come to this port.
    bool takesDisplay = true;
    /// Null without TLS; outlives the acceptor.
    asio::ssl::context* tls = nullptr;
  };

  ChannelAcceptor(asio::io_context& context, Settings settings, HubLog& log, OpenedHandler opened);

  /// Binds the port; throws asio::system_error if it cannot.
  void listen();
  void close();

 private:
  struct Pending;

  void accept();
  void welcome(asio::ip::tcp::socket socket);
  void readOpening(const std::shared_ptr<Pending>& pending, std::size_t missing);
  void judge(const std::shared_ptr<Pending>& pending);
  void retryLater();

  asio::io_context& context_;
  const Settings settings_;
  HubLog& log_;
  const OpenedHandler opened_;
  asio::ip::tcp::acceptor acceptor_;
  asio::steady_timer retry_;
  const std::shared_ptr<int> unopened_ = std::make_shared<int>(0);
};

}  // namespace tessel::hub
