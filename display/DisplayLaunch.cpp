#include "display/DisplayLaunch.h"

#include "platform/base/URLPath.h"
#include "tessel/TSLSession.h"

namespace tessel {

URLRequest launchRequest(const TSLSession& session) {
  const auto url =
      platform::appendingPathComponent(session.applicationURL(), session.applicationName());
  return {url.value_or(std::string{}), "POST"};
}

std::optional<std::string> stopURLAfterLaunch(const TSLSession& session,
                                              const URLResponse& response) {
  auto location = response.header("Location");
  const bool usable = location && !location->empty();
  if (usable && (!session.sslEnabled() || location->starts_with("https"))) return location;
  return platform::appendingPathComponent(session.applicationURL(),
                                          session.applicationName() + "/run");
}

}  // namespace tessel
