#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "platform/Queues.h"
#include "platform/URLSessions.h"

namespace tessel::platform {

/// How long a transfer may take in a session with `requestTimeout`: a minute if it has none.
std::chrono::milliseconds transferTimeout(std::optional<Clock::Duration> requestTimeout);

/// URL sessions on libcurl. All transfers of the process share one thread; each session has a
/// callback queue of its own. Any thread.
class CurlURLSessions : public URLSessions {
 public:
  explicit CurlURLSessions(std::shared_ptr<Queues> queues) : queues_{std::move(queues)} {}

  std::shared_ptr<URLSession> makeSession(std::optional<Clock::Duration> requestTimeout) override;

 private:
  const std::shared_ptr<Queues> queues_;
};

}  // namespace tessel::platform
