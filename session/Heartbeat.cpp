#include "session/Heartbeat.h"

#include <cassert>
#include <chrono>

#include "display/TSLDisplayConnection.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/URLPath.h"
#include "tessel/TSLSession.h"

namespace tessel {
namespace {

using namespace std::chrono_literals;

constexpr auto kPeriod = 5s;
constexpr auto kPollTimeout = 4s;

}  // namespace

void Heartbeat::attachTo(const std::shared_ptr<TSLSession>& session) {
  auto& queues = *platform::services().queues;
  setTimer(queues.makeTimer(queues.mainQueue(), 0s, kPeriod, [weak = std::weak_ptr{session}] {
    if (const auto self = weak.lock()) self->HeartBeatfunc();
  }));
  setLastActive(platform::services().clock->now());
}

void Heartbeat::tick(TSLSession& session) {
  assert(platform::services().queues->mainQueue()->isCurrent());
  platform::log("%s: ENTER/EXIT", "-[TSLSession HeartBeatfunc]");
  const auto config = session.sessionConfig();
  if (isSilentFor(Seconds{config ? config->HeartBeatTimeout() : 0})) {
    platform::log("%s:Too long to be inactive,the session will be terminated.",
                  "-[TSLSession HeartBeatfunc]");
    if (const auto display = session.displayConnection()) display->setTerminateAccidentally(true);
    session.disconnect();
    return;
  }
  poll(session);
}

bool Heartbeat::isSilentFor(Seconds timeout) const {
  const auto active = lastActive();
  return active && platform::services().clock->now() - *active >= timeout;
}

void Heartbeat::poll(TSLSession& session) {
  const auto url =
      platform::appendingPathComponent(session.applicationURL(), session.applicationName());
  setElementName("");
  platform::services()
      .urlSessions->makeSession(kPollTimeout)
      ->dataTask(
          {url.value_or(""), "GET"},
          [weak = session.weak_from_this()](const Bytes& body, const URLResponse& /*any status*/,
                                            const std::optional<Error>& error) {
            if (error) {
              platform::log("Get error :%s", error->localizedDescription.c_str());
            } else if (const auto self = weak.lock()) {
              platform::services().xml->parse(body, *self);
            }
          });
}

void Heartbeat::cancel() {
  platform::log("%s, ENTER", "-[TSLSession cancelHeartBeat]");
  if (const auto current = timer()) current->cancel();
  platform::log("%s, EXIT", "-[TSLSession cancelHeartBeat]");
}

void Heartbeat::didStartElement(const std::string& elementName) { setElementName(elementName); }

void Heartbeat::foundCharacters(const std::string& text) {
  if (text == "running" && elementName() == "state") {
    setLastActive(platform::services().clock->now());
  }
}

}  // namespace tessel
