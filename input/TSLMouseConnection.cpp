#include "input/TSLMouseConnection.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "input/HubChannel.h"
#include "input/TSLMouseSimulator.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ErrorText.h"
#include "tessel/Constants.h"
#include "tessel/TSLSession.h"
#include "wire/ChannelCommand.h"
#include "wire/MousePacket.h"
#include "wire/Ports.h"

namespace tessel {

using platform::ConnectionState;
using platform::log;
using platform::NetworkConnection;
using platform::Received;
using platform::services;

const char* const TSLMouseConnectorDefaultPort = kChannelsPort.text;
const char* const TSLMouseConnectorOldPort = kOldInputPort.text;

namespace {

constexpr std::chrono::milliseconds kReportInterval{25};

// While more than this waits to be sent, cursor reports are withheld.
constexpr std::size_t kMaxUnsentBytes = 1024;

Error makeError(long code) { return Error{TSLErrorDomain, code, {}}; }

void call(const TSLMouseConnection::Completion& completion, std::optional<Error> error) {
  if (completion) completion(std::move(error));
}

// Pixels lie below and to the right of their coordinates, so a rectangle includes its left and its
// upper edge only.
bool mouseInRect(Point point, const Rect& rect) {
  return point.x >= rect.origin.x && point.x < rect.origin.x + rect.size.width &&
         point.y > rect.origin.y && point.y <= rect.origin.y + rect.size.height;
}

double clampTo(double value, double limit) {
  if (value < 0) return 0.0;
  return value > limit ? limit : value;
}

// Truncated toward zero to 32 bits, of which the low 16 are kept.
std::uint16_t coordinate(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (!(value > Limits::min() && value < Limits::max())) return 0;
  return static_cast<std::uint16_t>(static_cast<std::int32_t>(value));
}

}  // namespace

std::shared_ptr<TSLMouseConnection> TSLMouseConnection::initWithHub(
    const std::shared_ptr<TSLSession>& hub) {
  std::shared_ptr<TSLMouseConnection> connection(new TSLMouseConnection(hub));
  connection->activate();
  return connection;
}

TSLMouseConnection::TSLMouseConnection(const std::shared_ptr<TSLSession>& hub)
    : hub_{hub}, mouseQueue_{services().queues->makeSerialQueue("Mouse Dispatch Queue")} {}

void TSLMouseConnection::activate() {
  const auto timer = services().queues->makeTimer(mouseQueue(), {}, kReportInterval,
                                                  [self = shared_from_this()] { self->tick(); });
  sendOutTimer_.set(timer);
  mouseSimulator_.set(TSLMouseSimulator::init(hub()));
  timer->resume();
  log("%s-%s/%d: mouse connection init", "TSLMouseSimulator", "-[TSLMouseConnection initWithHub:]",
      60);
}

// May run on a queue's thread while the program exits: it makes no Error, whose domain may be
// destroyed by then.
TSLMouseConnection::~TSLMouseConnection() { tearDown(); }

void TSLMouseConnection::startWithCompletionHandler(Completion completion) {
  static constexpr const char* kName = "-[TSLMouseConnection startWithCompletionHandler:]";
  started_ = true;
  const auto connection = makeHubConnection(
      hub(), {.newProtocol = TSLMouseConnectorDefaultPort, .oldProtocol = TSLMouseConnectorOldPort},
      mouseQueue());
  if (!connection) {
    call(completion, makeError(2));
    log("%s: hostName is NULL!", kName);
    return;
  }
  hubConnection_.set(connection);
  connection->setStateChangedHandler([weak = weak_from_this(), completion = std::move(completion)](
                                         ConnectionState state, const std::optional<Error>& error) {
    static constexpr const char* kBlock =
        "-[TSLMouseConnection startWithCompletionHandler:]_block_invoke";
    errno = error ? static_cast<int>(error->code) : 0;
    if (state == ConnectionState::kCancelled) {
      log("%s: Connection was cancelled", kBlock);
    } else if (state == ConnectionState::kFailed) {
      log("%s: Failed, calling completion handler", kBlock);
      call(completion, makeError(3));
    } else if (state == ConnectionState::kReady) {
      if (const auto self = weak.lock(); self && self->becomeConnected()) {
        self->newInitialization(completion);
      }
    }
  });
  connection->start();
  if (stopped_) connection->cancel();  // the stop may not have found it
}

// Whichever of this and the stop comes last, a stopped connection ends up not connected.
bool TSLMouseConnection::becomeConnected() {
  connected_ = true;
  if (!stopped_) return true;
  connected_ = false;
  return false;
}

void TSLMouseConnection::stopWithCompletionHandler(Completion completion) {
  tearDown();
  call(completion, makeError(2));
}

void TSLMouseConnection::tearDown() {
  if (const auto timer = sendOutTimer()) {
    timer->suspend();
    timer->cancel();
  }
  stopped_ = true;
  connected_ = false;
  if (const auto connection = HubConnection()) connection->cancel();
  if (const auto simulator = mouseSimulator()) simulator->stopPosting();
}

void TSLMouseConnection::newInitialization(Completion completion) {
  static constexpr const char* kName = "-[TSLMouseConnection newInitialization:]";
  assert(mouseQueue()->isCurrent());
  log("%s: ENTER", kName);
  if (sendOpening()) {
    log("%s: queueing recv", kName);
    if (const auto connection = HubConnection()) {
      connection->receive(
          kCursorReply.size(),
          [weak = weak_from_this(), completion = std::move(completion)](const Received& received) {
            if (const auto self = weak.lock()) self->receivedCursorReply(received, completion);
          });
    }
  }
  log("%s: EXIT", kName);
}

bool TSLMouseConnection::sendOpening() {
  static constexpr const char* kName = "-[TSLMouseConnection newInitialization:]";
  log("%s: Sending startCommand", kName);
  if (!sendBuffer(kMouseOpening.data(), kMouseOpening.size())) return false;
  log("%s: Sending cursorCommand", kName);
  return sendBuffer(kCursorCommand.data(), kCursorCommand.size());
}

// A reply that comes together with the peer's close is an error and still a reply: the completion
// may be called for both.
void TSLMouseConnection::receivedCursorReply(const Received& received,
                                             const Completion& completion) {
  static constexpr const char* kBlock = "-[TSLMouseConnection newInitialization:]_block_invoke";
  assert(mouseQueue()->isCurrent());
  log("%s: ReplyReceived", kBlock);
  if (received.isFinal()) {
    log("%s: Network Error", kBlock);
    call(completion, makeError(3));
  }
  if (!received.content || received.error) {
    call(completion, makeError(3));
    return;
  }
  if (!std::ranges::equal(*received.content, kCursorReply)) {
    log("%s: Mouse Connection: Cursor Response was not as expected", kBlock);
    return;
  }
  log("%s: Sending captureCommand", kBlock);
  if (!sendBuffer(kCaptureCommand.data(), kCaptureCommand.size())) {
    log("%s: Network Error", kBlock);
    call(completion, makeError(3));
    return;
  }
  if (const auto connection = HubConnection()) {
    connection->receive(kCaptureReply.size(),
                        [weak = weak_from_this(), completion](const Received& reply) {
                          if (const auto self = weak.lock()) {
                            self->receivedCaptureReply(reply, completion);
                          }
                        });
  }
}

void TSLMouseConnection::receivedCaptureReply(const Received& received,
                                              const Completion& completion) {
  static constexpr const char* kBlock = "-[TSLMouseConnection newInitialization:]_block_invoke_2";
  assert(mouseQueue()->isCurrent());
  if (received.isFinal()) {
    log("%s: Network Error", kBlock);
    call(completion, makeError(3));
  }
  if (!received.content || received.error) {
    log("%s: Network Error", kBlock);
    call(completion, makeError(3));
    return;
  }
  if (!std::ranges::equal(*received.content, kCaptureReply)) {
    // Each byte is widened with its sign.
    const auto byte = [&](std::size_t at) {
      return static_cast<unsigned>(int{static_cast<std::int8_t>((*received.content)[at])});
    };
    log("%s: Mouse Connection: Capture Response was not as expected "
        "[0x%x,0x%x,0x%x,0x%x,0x%x,0x%x,0x%x,0x%x,0x%x,0x%x]",
        kBlock, byte(0), byte(1), byte(2), byte(3), byte(4), byte(5), byte(6), byte(7), byte(8),
        byte(9));
    return;
  }
  if (const auto connection = HubConnection()) rcvMouseEvent(connection);
  log("%s: Mouse Connection Initialized", kBlock);
  call(completion, std::nullopt);
}

void TSLMouseConnection::rcvMouseEvent(const std::shared_ptr<NetworkConnection>& connection) {
  assert(mouseQueue()->isCurrent());
  log("%s: Enter", "-[TSLMouseConnection rcvMouseEvent:]");
  connection->receive(MousePacket::kSize,
                      [weak = weak_from_this(), connection](const Received& received) {
                        if (const auto self = weak.lock()) {
                          self->receivedMouseEvent(received, connection);
                        }
                      });
}

void TSLMouseConnection::receivedMouseEvent(const Received& received,
                                            const std::shared_ptr<NetworkConnection>& connection) {
  assert(mouseQueue()->isCurrent());
  const auto simulator = mouseSimulator();
  if (received.content && simulator) {
    if (const auto packet = MousePacket::parse(*received.content)) {
      simulator->simulateMouseEvent(*packet);
    }
  }
  if (receiveEnded(received)) {
    if (simulator) simulator->releaseAll();
    return;
  }
  rcvMouseEvent(connection);
}

bool TSLMouseConnection::receiveEnded(const Received& received) {
  static constexpr const char* kBlock = "-[TSLMouseConnection rcvMouseEvent:]_block_invoke";
  static constexpr const char* kBlock2 = "-[TSLMouseConnection rcvMouseEvent:]_block_invoke_2";
  if (!received.content) {
    log("%s: Error: content == NULL", kBlock);
    return true;
  }
  if (received.isFinal()) {
    log("%s: ERROR IN Recieve", kBlock2);
    connected_ = false;
    return true;
  }
  if (received.error) {
    log("%s: Error: %s", kBlock2, platform::describe(*received.error).c_str());
    return true;
  }
  return false;
}

void TSLMouseConnection::tick() {
  // Only a started connection can have been dropped: a new one is not yet stored in its session.
  const auto session = hub();
  if (!session || (started_ && session->mouseConnection().get() != this)) {
    if (const auto timer = sendOutTimer()) timer->cancel();
    return;
  }
  sendMouseEvent();
}

void TSLMouseConnection::sendMouseEvent() {
  static constexpr const char* kName = "-[TSLMouseConnection sendMouseEvent]";
  if (!connected_) {
    log("%s: Unable to send as socket is not connected.", kName);
    return;
  }
  Size sessionSize;
  if (const auto session = hub()) {
    if (const auto config = session->sessionConfig()) sessionSize = config->sessionSize();
  }
  const Point point = cursorInSession(sessionSize);
  const Point last = lastPoint();
  if (point == last) return;
  // A later tick reports the position then current.
  const auto connection = HubConnection();
  if (connection && connection->unsentBytes() > kMaxUnsentBytes) return;
  log("lastPtX/Y:%lf/%lf, currentPtx/Y:%lf/%lf", last.x, last.y, point.x, point.y);
  lastPoint_.set(point);
  MousePacket packet;
  packet.x = coordinate(point.x);
  packet.y = coordinate(sessionSize.height - point.y);  // the hub's y grows downwards
  packet.command = static_cast<std::uint8_t>(MouseCommand::kMove);
  const auto bytes = packet.bytes();
  if (!sendBuffer(bytes.data(), bytes.size())) {
    log("%s/%d: Mouse event send failed!!!", kName, 224);
  }
}

// On the first screen the location is scaled, without subtracting the screen's origin; elsewhere
// it is clamped, without scaling.
Point TSLMouseConnection::cursorInSession(Size sessionSize) const {
  const auto desktop = services().desktops->current();
  const Point mouse = desktop->mouseLocation();
  Rect frame;
  if (const auto screens = desktop->screens(); !screens.empty()) {
    frame = screens.front().frame();
  }
  if (mouseInRect(mouse, frame)) {
    return {sessionSize.width * mouse.x / frame.size.width,
            sessionSize.height * mouse.y / frame.size.height};
  }
  log("%s/%d: point.x/y=%lf/%lf, not in rectangle", "-[TSLMouseConnection sendMouseEvent]", 180,
      mouse.x, mouse.y);
  return {clampTo(mouse.x, sessionSize.width), clampTo(mouse.y, sessionSize.height)};
}

bool TSLMouseConnection::sendBuffer(const void* bytes, std::uint64_t length) {
  if (const auto connection = HubConnection()) connection->send(bytes, length);
  return true;
}

}  // namespace tessel
