#include "session/ConnectSequence.h"

#include <atomic>
#include <functional>
#include <optional>
#include <utility>

#include "display/TSLDisplayConnection.h"
#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "platform/Log.h"
#include "platform/Queues.h"
#include "tessel/TSLSession.h"

namespace tessel {
namespace {

using WeakSession = std::weak_ptr<TSLSession>;
using Completion = std::function<void(std::optional<Error>)>;

constexpr const char* kDetailsStep = "-[TSLSession connect]_block_invoke";
constexpr const char* kDisplayStep = "-[TSLSession connect]_block_invoke_2";
constexpr const char* kMouseStep = "-[TSLSession connect]_block_invoke_3";
constexpr const char* kKeyBoardStep = "-[TSLSession connect]_block_invoke_4";

// A completion that calls `step` with the session, once: a broken mouse channel may complete its
// start twice.
Completion completionOf(
    const WeakSession& weak,
    std::function<void(std::shared_ptr<TSLSession>, const std::optional<Error>&)> step) {
  return [weak, step = std::move(step),
          acted = std::make_shared<std::atomic<bool>>(false)](const std::optional<Error>& error) {
    if (acted->exchange(true)) return;
    if (auto session = weak.lock()) step(std::move(session), error);
  };
}

// Drops the channels made so far without stopping them; their destructors close them.
void abortConnecting(TSLSession& session, const Error& error) {
  session.setMouseConnection(nullptr);
  session.setKeyBoardConnection(nullptr);
  session.setDisplayConnection(nullptr);
  session.setState(TSLSessionStateDisconnected);
  session.notifyConnectionDidFailWithError(error);
}

// With several tokens a hub's application is polled through the instance that the launch made,
// whose token is the last piece of the stop URL.
void addressInstance(TSLSession& session) {
  const auto display = session.displayConnection();
  const auto stopURL = display ? display->stopURL() : std::nullopt;
  if (!stopURL) return;
  const auto slash = stopURL->rfind('/');
  if (slash == std::string::npos) return;
  session.setApplicationName(session.applicationName() + stopURL->substr(slash));
}

void startKeyBoardConnection(std::shared_ptr<TSLSession> session,
                             const std::optional<Error>& error) {
  if (error) {
    platform::log("%s: Mouse connection failed, aborting connection", kMouseStep);
    abortConnecting(*session, *error);
    return;
  }
  platform::log("%s: Mouse connected, starting keyboard connection", kMouseStep);
  const auto keyBoard = TSLKeyBoardConnection::initWithHub(session);
  session->setKeyBoardConnection(keyBoard);
  const WeakSession weak = session;
  session.reset();  // the start may block for long, and the host may drop the session meanwhile
  keyBoard->startWithCompletionHandler(completionOf(weak, finishConnecting));
}

void startMouseConnection(std::shared_ptr<TSLSession> session, const std::optional<Error>& error) {
  if (error) {
    platform::log("%s: Display connection failed, aborting connection", kDisplayStep);
    abortConnecting(*session, *error);
    return;
  }
  platform::log("%s: Display connected, starting mouse connection", kDisplayStep);
  const auto mouse = TSLMouseConnection::initWithHub(session);
  session->setMouseConnection(mouse);
  const WeakSession weak = session;
  session.reset();
  mouse->startWithCompletionHandler(completionOf(weak, startKeyBoardConnection));
}

void startDisplayConnection(std::shared_ptr<TSLSession> session,
                            const std::optional<Error>& error) {
  if (error) {
    platform::log("%s: Failed to retrieve connection details, aborting", kDetailsStep);
    session->setState(TSLSessionStateDisconnected);
    session->notifyConnectionDidFailWithError(*error);
    return;
  }
  platform::log("%s: Starting display connection", kDetailsStep);
  const auto display = TSLDisplayConnection::initWithHub(session);
  session->setDisplayConnection(display);
  const WeakSession weak = session;
  session.reset();
  display->startWithCompletionHandler(completionOf(weak, startMouseConnection));
}

}  // namespace

void finishConnecting(const std::shared_ptr<TSLSession>& session,
                      const std::optional<Error>& error) {
  if (error) {
    platform::log("%s: Keyboard connection failed, aborting connection", kKeyBoardStep);
    abortConnecting(*session, *error);
    return;
  }
  platform::log("%s: Keyboard connected, starting heartbeat timer", kKeyBoardStep);
  session->setState(TSLSessionStateConnected);
  if (const auto timer = session->heartbeattimer()) timer->resume();
  if (session->multiTokenProtocol()) addressInstance(*session);
}

void runConnectSequence(const WeakSession& weak) {
  if (const auto session = weak.lock()) {
    session->fetchDeviceDetailsWithCompletionHandler(completionOf(weak, startDisplayConnection));
  }
}

}  // namespace tessel
