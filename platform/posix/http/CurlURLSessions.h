#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "platform/Queues.h"
#include "platform/URLSessions.h"
#include "platform/posix/http/CallbackQueue.h"

namespace tessel::platform {

/// How long a transfer may take in a session with `requestTimeout`: a minute if it has none.
std::chrono::milliseconds transferTimeout(std::optional<Clock::Duration> requestTimeout);

/// URL sessions on libcurl. All transfers of the process share one thread. Each session has a
/// callback queue of its own, but background sessions share one: the number of beacons received
/// decides how many there are, and a thread for each would be too many. Any thread.
class CurlURLSessions : public URLSessions {
 public:
  explicit CurlURLSessions(std::shared_ptr<Queues> queues);

  std::shared_ptr<URLSession> makeSession(std::optional<Clock::Duration> requestTimeout) override;
  std::shared_ptr<URLSession> makeBackgroundSession() override;

 private:
  const std::shared_ptr<Queues> queues_;
  const std::shared_ptr<CallbackQueue> backgroundQueue_;
};

}  // namespace tessel::platform
