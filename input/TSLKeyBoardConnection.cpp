#include "input/TSLKeyBoardConnection.h"

#include <cassert>
#include <cerrno>
#include <cstddef>
#include <span>
#include <string>
#include <utility>

#include "input/HubChannel.h"
#include "input/TSLKeyBoardSimulator.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ByteOrder.h"
#include "platform/base/ErrorText.h"
#include "platform/base/Group.h"
#include "tessel/Constants.h"
#include "wire/ChannelCommand.h"
#include "wire/KeyboardRecord.h"
#include "wire/Ports.h"

namespace tessel {

using platform::ConnectionState;
using platform::log;
using platform::NetworkConnection;
using platform::Received;
using platform::services;

const char* const TSLKeyBoardConnectorDefaultPort = kChannelsPort.text;
const char* const TSLKeyBoardConnectorOldPort = kOldInputPort.text;

std::shared_ptr<TSLKeyBoardConnection> TSLKeyBoardConnection::initWithHub(
    const std::shared_ptr<TSLSession>& hub) {
  return std::shared_ptr<TSLKeyBoardConnection>(new TSLKeyBoardConnection(hub));
}

// Both lines name the simulator's class.
TSLKeyBoardConnection::TSLKeyBoardConnection(const std::shared_ptr<TSLSession>& hub)
    : hub_{hub}, keyboardQueue_{services().queues->makeSerialQueue("Keyboard Dispatch Queue")} {
  static constexpr const char* kName = "-[TSLKeyBoardConnection initWithHub:]";
  log("%s-%s/%d: ENTER", "TSLKeyBoardSimulator", kName, __LINE__);
  keyBoardSimulator_.set(TSLKeyBoardSimulator::init());
  log("%s-%s/%d: tslkeyboard connection init", "TSLKeyBoardSimulator", kName, __LINE__);
}

TSLKeyBoardConnection::~TSLKeyBoardConnection() {
  stopWithCompletionHandler([](const std::optional<Error>&) {});
  log("%s-%s/%d: tslkeyboard connection dealloc", "TSLKeyBoardConnection",
      "-[TSLKeyBoardConnection dealloc]", __LINE__);
}

void TSLKeyBoardConnection::startWithCompletionHandler(Completion completion) {
  log("%s/%d: ENTER", "-[TSLKeyBoardConnection startWithCompletionHandler:]", __LINE__);
  const auto self = shared_from_this();  // the session may drop it while the start blocks
  std::optional<Error> error;
  startKeyBoardSocketReturningError(error);
  if (completion) completion(std::move(error));
}

void TSLKeyBoardConnection::stopWithCompletionHandler(Completion completion) {
  stopped_ = true;
  if (const auto connection = HubConnection()) connection->cancel();
  if (const auto simulator = keyBoardSimulator()) simulator->stopPosting();
  if (completion) completion(std::nullopt);
}

bool TSLKeyBoardConnection::startKeyBoardSocketReturningError(std::optional<Error>& error) {
  // The session is let go again before the start blocks.
  const auto connection = makeHubConnection(
      hub(),
      {.newProtocol = TSLKeyBoardConnectorDefaultPort, .oldProtocol = TSLKeyBoardConnectorOldPort},
      keyboardQueue());
  if (!connection) {
    error = Error{TSLErrorDomain, 2, {}};
    log("%s: hostName is NULL!", "-[TSLKeyBoardConnection startKeyBoardSocketReturningError:]");
    return false;
  }
  hubConnection_.set(connection);
  connectAndWait(connection);
  if (!connected_) return false;
  if (newInitialization()) {
    // Never set here: a stop may have cleared `connected` since.
    services().queues->mainQueue()->async([weak = weak_from_this()] {
      const auto self = weak.lock();
      const auto current = self ? self->HubConnection() : nullptr;
      if (current) self->rcvKeyBoardEvent(current);
    });
  } else {
    connected_ = false;
    connection->cancel();
  }
  return connected_;
}

// Blocks until the connection is ready, has failed or was cancelled; the network reports one of
// the three in the end.
void TSLKeyBoardConnection::connectAndWait(const std::shared_ptr<NetworkConnection>& connection) {
  const auto condition = std::make_shared<platform::Condition>(*services().clock);
  connected_ = false;
  connection->setStateChangedHandler([weak = weak_from_this(), condition](
                                         ConnectionState state, const std::optional<Error>& error) {
    errno = error ? static_cast<int>(error->code) : 0;
    const bool ready = state == ConnectionState::kReady;
    const bool cancelled = state == ConnectionState::kCancelled;
    const auto self = weak.lock();
    if (self && (ready || cancelled)) self->connected_ = ready;
    if (ready || cancelled || state == ConnectionState::kFailed) condition->signal();
  });
  connection->start();
  if (stopped_) connection->cancel();  // the stop may not have found it
  condition->wait();
}

bool TSLKeyBoardConnection::newInitialization() {
  return sendBuffer(kKeyboardOpening.data(), kKeyboardOpening.size());
}

bool TSLKeyBoardConnection::sendBuffer(const void* bytes, std::uint64_t length) {
  if (const auto connection = HubConnection()) connection->send(bytes, length);
  return true;
}

void TSLKeyBoardConnection::rcvKeyBoardEvent(const std::shared_ptr<NetworkConnection>& connection) {
  connection->receive(KeyboardRecord::kSize,
                      [weak = weak_from_this(), connection](const Received& received) {
                        if (const auto self = weak.lock()) self->received(received, connection);
                      });
}

void TSLKeyBoardConnection::received(const Received& received,
                                     const std::shared_ptr<NetworkConnection>& connection) {
  assert(keyboardQueue()->isCurrent());
  const auto simulator = keyBoardSimulator();
  if (received.content && simulator) {
    const std::span<const std::uint8_t> bytes{*received.content};
    simulator->simulateKeyBoardEvent(
        platform::getLittleEndian<0, std::uint64_t>(bytes.first<KeyboardRecord::kSize>()));
  }
  if (receiveEnded(received)) {
    if (simulator) simulator->releaseAll();
    return;
  }
  rcvKeyBoardEvent(connection);
}

bool TSLKeyBoardConnection::receiveEnded(const Received& received) {
  static constexpr const char* kBlock = "-[TSLKeyBoardConnection rcvKeyBoardEvent:]_block_invoke";
  if (!received.content) {
    log("%s: Error: content == NULL", kBlock);
    return true;
  }
  log("%s: ENTER", kBlock);
  if (received.isFinal()) {
    log("%s: ERROR IN Recieve", kBlock);
    connected_ = false;
    return true;
  }
  if (received.error) {
    log("%s: Error: %s", kBlock, platform::describe(*received.error).c_str());
    return true;
  }
  return false;
}

}  // namespace tessel
