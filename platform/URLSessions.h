#pragma once

#include <memory>
#include <optional>

#include "platform/Clock.h"
#include "tessel/URLSession.h"

namespace tessel::platform {

/// Domain of the errors of transfers.
inline constexpr const char* kURLErrorDomain = "tessel.url";

class URLSessions {
 public:
  virtual ~URLSessions() = default;

  /// A new session. `requestTimeout` bounds each whole transfer; none means 60 seconds.
  virtual std::shared_ptr<URLSession> makeSession(
      std::optional<Clock::Duration> requestTimeout) = 0;
};

}  // namespace tessel::platform
