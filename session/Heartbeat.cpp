// The heartbeat of a session: polls the hub's application and ends the session when the hub stays
// silent.
#include <chrono>

#include "display/TSLDisplayConnection.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/URLPath.h"
#include "session/SessionFields.h"

namespace tessel {
namespace {

constexpr auto kPollTimeout = std::chrono::seconds{4};

}  // namespace

void TSLSession::HeartBeatfunc() {
  platform::log("%s: ENTER/EXIT", "-[TSLSession HeartBeatfunc]");
  const auto active = lastactive();
  const auto config = sessionConfig();
  if (active) {
    const Seconds silence = platform::services().clock->now() - *active;
    if (silence.count() >= (config ? config->HeartBeatTimeout() : 0)) {
      platform::log("%s:Too long to be inactive,the session will be terminated.",
                    "-[TSLSession HeartBeatfunc]");
      if (const auto display = displayConnection()) display->setTerminateAccidentally(true);
      disconnect();
      return;
    }
  }
  const auto url = platform::appendingPathComponent(applicationURL(), applicationName());
  setXmlelementname("");
  platform::services()
      .urlSessions->makeSession(kPollTimeout)
      ->dataTask({url.value_or(""), "GET"},
                 [weak = weak_from_this()](const Bytes& body, const URLResponse& /*any status*/,
                                           const std::optional<Error>& error) {
                   if (error) {
                     platform::log("Get error :%s", error->localizedDescription.c_str());
                   } else if (const auto self = weak.lock()) {
                     platform::services().xml->parse(body, *self);
                   }
                 });
}

void TSLSession::cancelHeartBeat() {
  platform::log("%s, ENTER", "-[TSLSession cancelHeartBeat]");
  if (const auto timer = heartbeattimer()) timer->cancel();
  platform::log("%s, EXIT", "-[TSLSession cancelHeartBeat]");
}

void TSLSession::ShutDownAccidentally() {
  platform::log("%s, ENTER/EXIT", "-[TSLSession ShutDownAccidentally]");
}

void TSLSession::didStartElement(const std::string& elementName) { setXmlelementname(elementName); }

void TSLSession::foundCharacters(const std::string& text) {
  if (text == "running" && xmlelementname() == "state") {
    setLastactive(platform::services().clock->now());
  }
}

}  // namespace tessel
