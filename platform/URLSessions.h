#pragma once

#include <memory>
#include <optional>

#include "platform/Clock.h"
#include "tessel/URLSession.h"

namespace tessel::platform {

/// Domain of the errors of transfers.
inline constexpr const char* kURLErrorDomain = "tessel.url";

/// Makes URL sessions. Any thread.
class URLSessions {
 public:
  virtual ~URLSessions() = default;

  /// A new session. `requestTimeout` bounds each whole transfer from its start, without the time
  /// that it is queued; none means 60 seconds.
  virtual std::shared_ptr<URLSession> makeSession(
      std::optional<Clock::Duration> requestTimeout) = 0;

  /// A new session with the default time-out, for requests that are not urgent. They never delay
  /// those of other sessions. Its completions may come on a queue that all such sessions share, and
  /// must not block.
  virtual std::shared_ptr<URLSession> makeBackgroundSession() { return makeSession(std::nullopt); }
};

}  // namespace tessel::platform
