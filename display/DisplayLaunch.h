#pragma once

#include <optional>
#include <string>

#include "tessel/URLSession.h"

namespace tessel {

class TSLSession;

/// The request that launches the receiver application of `session`'s hub.
URLRequest launchRequest(const TSLSession& session);

/// Where the launched receiver can be stopped: where the hub's answer says, unless a session with
/// TLS would leave it there; else the application's usual place.
std::optional<std::string> stopURLAfterLaunch(const TSLSession& session,
                                              const URLResponse& response);

}  // namespace tessel
