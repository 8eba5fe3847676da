#include "tessel/TSLSession.h"

#include <utility>

#include "display/TSLDisplayConnection.h"
#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "session/ConnectSequence.h"
#include "session/SessionFields.h"

namespace tessel {
namespace {

constexpr Size kMaxSessionSize{1920, 1080};

// The main screen's size, capped when it reaches the cap both ways; 0 by 0 without a screen.
Size castingSize() {
  const auto screens = platform::services().desktops->current()->screens();
  if (screens.empty()) return {};
  const Size size = screens.front().frame().size;
  const bool capped = size.width >= kMaxSessionSize.width && size.height >= kMaxSessionSize.height;
  return capped ? kMaxSessionSize : size;
}

long printable(std::int64_t state) { return static_cast<long>(state); }

// A call of the delegate of `session`. `self` is what the delegate gets: null during destruction.
DelegateCall delegateCall(
    const TSLSession& session, std::shared_ptr<TSLSession> self,
    std::function<void(TSLSessionDelegate&, const std::shared_ptr<TSLSession>&)> what) {
  auto delegate = session.delegate();
  if (!delegate) return {};
  return {session.delegateQueue(), [delegate = std::move(delegate), self = std::move(self),
                                    what = std::move(what)] { what(*delegate, self); }};
}

DelegateCall stateCall(const TSLSession& session, std::shared_ptr<TSLSession> self,
                       std::int64_t state) {
  return delegateCall(session, std::move(self),
                      [state](TSLSessionDelegate& delegate, const auto& caller) {
                        delegate.didChangeState(caller, state);
                      });
}

void dispatch(const DelegateCall& call, StateRecord& record) {
  if (call.queue) {
    record.deliver();
  } else if (call.operation) {
    call.operation();
  }
}

}  // namespace

void TSLSessionDelegate::didChangeState(const std::shared_ptr<TSLSession>& /*session*/,
                                        std::int64_t /*state*/) {}

void TSLSessionDelegate::connectionFailedWithError(const std::shared_ptr<TSLSession>& /*session*/,
                                                   const Error& /*error*/) {}

std::shared_ptr<TSLSession> TSLSession::initWithHostName(const std::optional<std::string>& hostName,
                                                         std::int64_t displayMode) {
  std::shared_ptr<TSLSession> session{new TSLSession{hostName, displayMode}};
  session->fields_->heartbeat.attachTo(session);
  return session;
}

TSLSession::TSLSession(const std::optional<std::string>& hostName, std::int64_t displayMode)
    : fields_{std::make_unique<Fields>(hostName, displayMode)} {
  const auto config = TSLSessionConfigration::initWithDefaultvalue();
  config->setSessionSize(castingSize());
  setSessionConfig(config);
}

TSLSession::~TSLSession() {
  platform::log("%s: ENTER", "-[TSLSession dealloc]");
  disconnect();
}

void TSLSession::setDelegate(const std::shared_ptr<TSLSessionDelegate>& delegate,
                             const std::shared_ptr<OperationQueue>& queue) {
  if (fields_->delegate.get().lock() != delegate) fields_->delegate.set(delegate);
  if (fields_->delegateQueue.get() != queue) fields_->delegateQueue.set(queue);
}

void TSLSession::connect() {
  // The delegate may drop the host's last reference from within its call.
  const auto self = weak_from_this().lock();
  if (!moveState(TSLSessionStateDisconnected, TSLSessionStateConnecting)) {
    platform::log("%s: called while already connected or connecting. state: %ld",
                  "-[TSLSession connect]", printable(state()));
    return;
  }
  runConnectSequence(weak_from_this());
}

void TSLSession::cancelConnect() {
  platform::log("%s: Enter", "-[TSLSession cancelConnect]");
  if (state() != TSLSessionStateConnecting) return;
  notifyConnectionDidFailWithError({TSLErrorDomain, 5, ""});
}

void TSLSession::disconnect() {
  constexpr const char* name = "-[TSLSession disconnect]";
  const auto self = weak_from_this().lock();
  platform::log("%s: ENTER, Session State: %ld", name, printable(state()));
  // Of several threads that disconnect at once, one ends the session.
  for (bool ended = false; !ended;) {
    const auto from = state();
    if (from != TSLSessionStateConnected && from != TSLSessionStateConnecting) {
      platform::log("%s: EXIT", name);
      return;
    }
    ended = moveState(from, TSLSessionStateDisconnected);
  }
  const auto display = displayConnection();
  const bool accidental = display && display->terminateAccidentally();
  stopChannels();
  cancelHeartBeat();
  setState(TSLSessionStateDisconnected);
  if (accidental) {
    const auto text =
        platform::services().localization->localizedString("Heartbeat Failed Message");
    notifyConnectionDidFailWithError({TSLErrorDomain, 3, text});
  }
  platform::log("%s: EXIT", name);
}

// The completions hold the session weakly: during its destruction there is nothing to clear.
void TSLSession::stopChannels() {
  constexpr const char* name = "-[TSLSession disconnect]";
  const auto weak = weak_from_this();
  if (const auto display = displayConnection()) {
    platform::log("%s: Closing Display Connection", name);
    display->stopWithCompletionHandler([weak](const std::optional<Error>& /*always set*/) {
      if (const auto self = weak.lock()) {
        self->setDisplayConnection(nullptr);
        self->setDeviceDetailsXML(std::nullopt);
      }
      platform::log("%s: Display Connection Closed", "-[TSLSession disconnect]_block_invoke");
    });
  }
  if (const auto mouse = mouseConnection()) {
    platform::log("%s: Closing Mouse Connection", name);
    mouse->stopWithCompletionHandler([weak](const std::optional<Error>& /*always set*/) {
      if (const auto self = weak.lock()) self->setMouseConnection(nullptr);
      platform::log("%s: Mouse Connection Closed", "-[TSLSession disconnect]_block_invoke_2");
    });
  }
  if (const auto keyBoard = keyBoardConnection()) {
    platform::log("%s: Closing Keyboard Connection", name);
    keyBoard->stopWithCompletionHandler([weak](const std::optional<Error>& /*never set*/) {
      if (const auto self = weak.lock()) self->setKeyBoardConnection(nullptr);
      platform::log("%s: Keyboard Connection Closed", "-[TSLSession disconnect]_block_invoke_3");
    });
  }
}

void TSLSession::setState(std::int64_t state) {
  platform::log("%s: ENTER, State: %ld", "-[TSLSession setState:]", printable(state));
  const auto call = stateCall(*this, weak_from_this().lock(), state);
  if (fields_->state.change(std::nullopt, state, call)) dispatch(call, fields_->state);
  platform::log("%s: EXIT", "-[TSLSession setState:]");
}

// `setState` on condition that the state is `from`; false when another thread has changed it.
bool TSLSession::moveState(std::int64_t from, std::int64_t to) {
  const auto call = stateCall(*this, weak_from_this().lock(), to);
  if (!fields_->state.change(from, to, call)) return false;
  platform::log("%s: ENTER, State: %ld", "-[TSLSession setState:]", printable(to));
  dispatch(call, fields_->state);
  platform::log("%s: EXIT", "-[TSLSession setState:]");
  return true;
}

void TSLSession::HeartBeatfunc() { fields_->heartbeat.tick(*this); }

void TSLSession::cancelHeartBeat() { fields_->heartbeat.cancel(); }

void TSLSession::ShutDownAccidentally() {
  platform::log("%s, ENTER/EXIT", "-[TSLSession ShutDownAccidentally]");
}

void TSLSession::didStartElement(const std::string& elementName) {
  fields_->heartbeat.didStartElement(elementName);
}

void TSLSession::foundCharacters(const std::string& text) {
  fields_->heartbeat.foundCharacters(text);
}

void TSLSession::notifyConnectionDidFailWithError(const Error& error) {
  platform::log("%s: ENTER", "-[TSLSession notifyConnectionDidFailWithError:]");
  const auto call = delegateCall(*this, weak_from_this().lock(),
                                 [error](TSLSessionDelegate& delegate, const auto& caller) {
                                   delegate.connectionFailedWithError(caller, error);
                                 });
  fields_->state.enqueue(call);
  dispatch(call, fields_->state);
}

}  // namespace tessel
