#include <cerrno>
#include <utility>

#include "display/PictureSize.h"
#include "display/TSLDisplayConnection.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ErrorText.h"
#include "tessel/Constants.h"
#include "tessel/TSLSession.h"
#include "wire/ChannelCommand.h"
#include "wire/ContextRequest.h"
#include "wire/MessageHeader.h"

// Opening the channel, and its receive loop.
namespace tessel {
namespace {

using platform::ConnectionState;
using platform::Received;

constexpr const char* kStart = "-[TSLDisplayConnection startDisplaySocketReturningError:]";
constexpr const char* kState =
    "-[TSLDisplayConnection startDisplaySocketReturningError:]_block_invoke";
constexpr const char* kHeader = "-[TSLDisplayConnection doReceive:]_block_invoke";
constexpr const char* kBody = "-[TSLDisplayConnection doReceive:]_block_invoke_2";

constexpr long kNoHostName = 2;
constexpr long kNotConnected = 3;
constexpr long kNoContext = 7;

constexpr std::int64_t kFramesInFlight = 6;
// The hub has just been told to launch its receiver, which needs a moment until it listens.
constexpr platform::Clock::Duration kPauseBeforeConnecting = std::chrono::seconds{2};
constexpr platform::Clock::Duration kContextTimeout = std::chrono::seconds{5};

// How the log calls the body that could not be skipped.
const char* skipName(std::uint8_t command) {
  switch (command) {
    case VSCH_CMD_CREATE_CONTEXT_RESPONSE:
      return "VSCH_CMD_CREATE_CONTEXT_RESPONSE";
    case VSCH_CMD_CONTROL_C2H:
      return "VSCH_CMD_CONTROL_C2H";
    default:
      return "unknown command";
  }
}

bool isRefusal(const std::optional<Error>& error) {
  return error && error->code == platform::kConnectionRefused;
}

// Needs no display connection: the last state of an ordinary stop comes when that is gone.
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

// Whether a state leaves the channel up or down; none when that is still open.
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

bool fail(std::optional<Error>& error, long code) {
  error = Error{TSLErrorDomain, code, {}};
  return false;
}

}  // namespace

bool TSLDisplayConnection::startDisplaySocketReturningError(std::optional<Error>& error) {
  // The session is not held while this blocks: its host may drop it meanwhile.
  std::optional<std::string> hostName;
  bool tls = false;
  if (const auto session = hub()) {
    hostName = session->hostName();
    tls = session->sslEnabled();
  }
  if (!hostName) {
    fail(error, kNoHostName);
    platform::log("%s: hostName is NULL!", kStart);
    return false;
  }
  credits_.set(kFramesInFlight);
  const auto gate = makeGate();
  const auto connection = openConnection(*hostName, tls, gate);
  platform::services().clock->sleep(kPauseBeforeConnecting);
  connection->start();
  doReceive(connection);
  if (!gate->wait()) connection->cancel();
  platform::log("%s: Socket Connected, resuming main thread", kStart);
  if (!connected_) return fail(error, kNotConnected);
  return negotiate(error);
}

// A stop may have come before there was a gate, while the launch was on its way.
std::shared_ptr<StartGate> TSLDisplayConnection::makeGate() {
  auto gate = std::make_shared<StartGate>(*platform::services().clock);
  gate_.set(gate);
  if (abandoned_) gate->abandon();
  return gate;
}

std::shared_ptr<platform::NetworkConnection> TSLDisplayConnection::openConnection(
    const std::string& hostName, bool tls, const std::shared_ptr<StartGate>& gate) {
  auto connection = platform::services().network->makeConnection(
      {hostName, TSLDisplayConnectorDefaultPort}, tls, socketDispatchQueue_);
  HubConnection_.set(connection);
  connected_ = false;
  stopped_ = false;
  connection->setStateChangedHandler(
      [weak = weak_from_this(), gate](ConnectionState state, const std::optional<Error>& error) {
        logState(state, error);
        const auto up = isUp(state, error);
        const auto self = weak.lock();
        if (!up || !self) return;
        self->connected_ = *up;
        gate->signal();
      });
  return connection;
}

bool TSLDisplayConnection::negotiate(std::optional<Error>& error) {
  bool newProtocol = false;
  Size size;
  if (const auto session = hub()) {
    newProtocol = session->newProtocol();
    if (const auto config = session->sessionConfig()) size = config->sessionSize();
  }
  if (!sendStartCommand(newProtocol)) return fail(error, kNotConnected);

  const auto capture = screenCaptureSessionWithSize(size, error);
  captureSession_.set(capture);
  if (!capture) return false;
  const auto encoder = compressionSessionWithSize(size, error);
  compressionSession_.set(encoder);
  if (!encoder) return false;

  const auto group = std::make_shared<platform::Group>(*platform::services().clock);
  group->enter();
  socketDispatchGroup_.set(group);
  if (!requestContext(size)) return fail(error, kNotConnected);
  if (!group->wait(kContextTimeout)) {
    platform::log("%s: Timed out waiting for display connector to initialize!", kStart);
    return fail(error, kNoContext);
  }
  capture->startRunning();
  if (stopped_) capture->stopRunning();  // a stop that came in between did not find it running
  return true;
}

bool TSLDisplayConnection::sendStartCommand(bool newProtocol) {
  if (newProtocol) {
    platform::log("%s: Sending New StartCommand", kStart);
    return sendBuffer(kNewStartCommand.data(), kNewStartCommand.size());
  }
  platform::log("%s: Sending old Start Command", kStart);
  return sendBuffer(kOldStartCommand.data(), kOldStartCommand.size());
}

bool TSLDisplayConnection::requestContext(Size size) {
  platform::log("%s: Sending Context Request", kStart);
  const auto picture = PictureSize::from(size);
  const auto request = ContextRequest{static_cast<std::uint32_t>(picture.width),
                                      static_cast<std::uint32_t>(picture.height)}
                           .bytes();
  return sendBuffer(request.data(), request.size());
}

bool TSLDisplayConnection::sendBuffer(const void* bytes, std::size_t length) {
  if (const auto connection = HubConnection()) {
    connection->send(bytes, length);
    statistics_.sent(length);
  }
  return true;
}

void TSLDisplayConnection::doReceive(
    const std::shared_ptr<platform::NetworkConnection>& connection) {
  connection->receive(MessageHeader::kSize,
                      [weak = weak_from_this(),
                       weakConnection = std::weak_ptr{connection}](const Received& received) {
                        const auto self = weak.lock();
                        const auto strong = weakConnection.lock();
                        if (self && strong) self->didReceiveHeader(strong, received);
                      });
}

void TSLDisplayConnection::didReceiveHeader(
    const std::shared_ptr<platform::NetworkConnection>& connection, const Received& received) {
  const auto header = received.content ? MessageHeader::parse(*received.content) : std::nullopt;
  if (!header) return;  // the stream ended between two messages
  if (header->command == VSCH_CMD_CREATE_CONTEXT_RESPONSE) {
    platform::log("%s: VSCH_CMD_CREATE_CONTEXT_RESPONSE received", kHeader);
    // None asked yet, or answered already: there is nobody to release.
    if (const auto group = socketDispatchGroup()) group->leave();
  } else if (header->command == VSCH_CMD_CONTROL_C2H) {
    credits_.give();
  } else {
    platform::log("%s: received unknown command: 0x%x", kHeader, header->command);
  }
  // The header is judged only after its body was skipped; its content is not needed for that.
  Received verdict{std::nullopt, received.context, received.isComplete, received.error};
  connection->receive(
      header->bodyLength(),
      [weak = weak_from_this(), weakConnection = std::weak_ptr{connection},
       name = skipName(header->command), verdict = std::move(verdict)](const Received& body) {
        const auto self = weak.lock();
        const auto strong = weakConnection.lock();
        if (self && strong) self->didSkipBody(strong, name, verdict, body);
      });
}

void TSLDisplayConnection::didSkipBody(
    const std::shared_ptr<platform::NetworkConnection>& connection, const char* name,
    const Received& header, const Received& body) {
  const auto skipFailed = [this, name] {
    platform::log("%s: %s skip failed", kBody, name);
    disconnectSessionDueToConnectionError();
  };
  if (body.isFinal()) skipFailed();
  if (body.error) return skipFailed();
  if (header.isFinal()) {
    platform::log("%s: ERROR IN Recieve", kBody);
    connected_ = false;
  } else if (header.error) {
    platform::log("%s: Error: %s", kBody, platform::describe(*header.error).c_str());
  } else {
    doReceive(connection);
  }
}

}  // namespace tessel
