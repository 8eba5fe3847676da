#include "display/DisplayChannel.h"

#include <cassert>
#include <utility>

#include "display/PictureSize.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "tessel/Constants.h"
#include "tessel/TSLSession.h"
#include "wire/ChannelCommand.h"
#include "wire/ContextRequest.h"
#include "wire/Ports.h"

// Opening the channel, sending on it and stopping it. The receive loop is in
// DisplayChannelReceive.cpp.
namespace tessel {
namespace {

using platform::ConnectionState;

constexpr const char* kStart = "-[TSLDisplayConnection startDisplaySocketReturningError:]";
constexpr const char* kState =
    "-[TSLDisplayConnection startDisplaySocketReturningError:]_block_invoke";

// The hub was asked a moment ago to launch its receiver, which takes some time to listen.
constexpr platform::Clock::Duration kPauseBeforeConnecting = std::chrono::seconds{2};
constexpr platform::Clock::Duration kContextTimeout = std::chrono::seconds{5};

bool isRefusal(const std::optional<Error>& error) {
  return error && error->code == platform::kConnectionRefused;
}

void logState(ConnectionState state, const std::optional<Error>& error) {
  switch (state) {
    case ConnectionState::kWaiting:
      platform::log("%s: nw_connection_state_waiting, errno: %d", kState, errno);
      if (isRefusal(error)) platform::log("%s: closing due to refused connection", kState);
      return;
    case ConnectionState::kReady:
      return platform::log("%s: nw_connection_state_ready", kState);
    case ConnectionState::kFailed:
      return platform::log("%s: nw_connection_state_failed", kState);
    case ConnectionState::kCancelled:
      return platform::log("%s: nw_connection_state_cancelled", kState);
    case ConnectionState::kInvalid:
    case ConnectionState::kPreparing:
      return;
  }
}

// Whether a state leaves the channel up or down; none if that is still open.
std::optional<bool> isUp(ConnectionState state, const std::optional<Error>& error) {
  switch (state) {
    case ConnectionState::kReady:
      return true;
    case ConnectionState::kFailed:
    case ConnectionState::kCancelled:
      return false;
    case ConnectionState::kWaiting:
      return isRefusal(error) ? std::optional{false} : std::nullopt;
    case ConnectionState::kInvalid:
    case ConnectionState::kPreparing:
      break;
  }
  return std::nullopt;
}

}  // namespace

const char* TSLDisplayConnectorDefaultPort = kChannelsPort.text;

DisplayChannel::DisplayChannel(std::weak_ptr<TSLSession> hub)
    : hub_{std::move(hub)},
      queue_{platform::services().queues->makeSerialQueue("org.tessel.displaySocket")} {}

void DisplayChannel::setAcknowledgementHandler(std::function<void()> handler) {
  acknowledged_ = std::move(handler);
}

bool DisplayChannel::open(const std::string& hostName, bool tls) {
  const auto gate = makeGate();
  const auto connection = makeConnection(hostName, tls, gate);
  platform::services().clock->sleep(kPauseBeforeConnecting);
  connection->start();
  doReceive(connection);
  if (!gate->wait()) connection->cancel();
  platform::log("%s: Socket Connected, resuming main thread", kStart);
  return connected_;
}

// A stop may have come before there was a gate, during the launch.
std::shared_ptr<StartGate> DisplayChannel::makeGate() {
  auto gate = std::make_shared<StartGate>(*platform::services().clock);
  gate_.set(gate);
  if (abandoned_) gate->abandon();
  return gate;
}

std::shared_ptr<platform::NetworkConnection> DisplayChannel::makeConnection(
    const std::string& hostName, bool tls, std::shared_ptr<StartGate> gate) {
  auto connection = platform::services().network->makeConnection(
      {hostName, TSLDisplayConnectorDefaultPort}, tls, queue_);
  connection_.set(connection);
  connected_ = false;
  connection->setStateChangedHandler([weak = weak_from_this(), gate = std::move(gate)](
                                         ConnectionState state, const std::optional<Error>& error) {
    logState(state, error);  // also the last state, which may come after the channel's end
    if (const auto self = weak.lock()) self->didChangeState(state, error, *gate);
  });
  return connection;
}

void DisplayChannel::didChangeState(ConnectionState state, const std::optional<Error>& error,
                                    StartGate& gate) {
  assert(queue_->isCurrent());
  const auto up = isUp(state, error);
  if (!up) return;
  connected_ = *up;
  gate.signal();
}

bool DisplayChannel::sendStartCommand(bool newProtocol) {
  if (newProtocol) {
    platform::log("%s: Sending New StartCommand", kStart);
    return sendBuffer(kNewStartCommand.data(), kNewStartCommand.size());
  }
  platform::log("%s: Sending old Start Command", kStart);
  return sendBuffer(kOldStartCommand.data(), kOldStartCommand.size());
}

bool DisplayChannel::requestContext(Size size) {
  const auto group = std::make_shared<platform::Group>(*platform::services().clock);
  group->enter();
  contextGroup_.set(group);
  platform::log("%s: Sending Context Request", kStart);
  const auto picture = PictureSize::from(size);
  const auto request = ContextRequest{static_cast<std::uint32_t>(picture.width),
                                      static_cast<std::uint32_t>(picture.height)}
                           .bytes();
  return sendBuffer(request.data(), request.size());
}

bool DisplayChannel::waitForContext() {
  if (contextGroup()->wait(kContextTimeout)) return true;
  platform::log("%s: Timed out waiting for display connector to initialize!", kStart);
  return false;
}

bool DisplayChannel::sendBuffer(const void* bytes, std::size_t length) {
  if (const auto connection = connection_.get()) {
    connection->send(bytes, length);
    bytesSent_ += static_cast<std::int64_t>(length);
  }
  return true;
}

std::size_t DisplayChannel::unsentBytes() const {
  const auto connection = connection_.get();
  return connection ? connection->unsentBytes() : 0;
}

void DisplayChannel::setAbandoned(bool abandoned) {
  abandoned_ = abandoned;
  const auto gate = gate_.get();
  if (abandoned && gate) gate->abandon();
}

bool DisplayChannel::takeDown() { return connection_.get() && connected_.exchange(false); }

void DisplayChannel::cancel() {
  if (const auto connection = connection_.get()) connection->cancel();
}

}  // namespace tessel
