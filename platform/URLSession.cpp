#include "tessel/URLSession.h"

#include "platform/Services.h"

namespace tessel {

std::shared_ptr<URLSession> URLSession::tsl_sessionWithDefaultConfiguration() {
  return platform::services().urlSessions->makeSession(std::nullopt);
}

}  // namespace tessel
