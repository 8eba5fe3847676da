#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Queues.h"
#include "platform/URLSessions.h"

namespace tessel::test {

/// One request that waits for the test's answer. Unanswered, it ends with an error when its
/// time-out has passed.
class SimExchange : public std::enable_shared_from_this<SimExchange> {
 public:
  URLRequest request;
  platform::Clock::Duration timeout{};
  bool background = false;  ///< made by a background session
  bool answered = false;

  /// Whether the caller runs on the callback queue of the session that made the request.
  bool onCallbackQueue() const { return queue_->isCurrent(); }

  /// Header names in any case.
  void respond(const std::string& body, const std::map<std::string, std::string>& headers = {},
               long status = 200);
  void fail(const Error& error);

 private:
  friend class SimURLSession;
  void finish(Bytes body, URLResponse response, std::optional<Error> error);

  URLSession::Completion completion_;
  std::shared_ptr<platform::SerialQueue> queue_;
  std::shared_ptr<platform::Timer> timer_;
};

/// Takes requests and keeps them for the test to look at and to answer.
class SimHTTP final : public platform::URLSessions {
 public:
  explicit SimHTTP(platform::Queues& queues) : queues_{queues} {}

  std::vector<std::shared_ptr<SimExchange>> requests;
  /// Called for every request as it is made: a place to answer it at once.
  std::function<void(SimExchange&)> onRequest;
  int sessionsMade = 0;
  /// What the session made last was asked for; none: the default.
  std::optional<platform::Clock::Duration> lastRequestTimeout;

  /// The request made last; null when there is none.
  std::shared_ptr<SimExchange> last() const;

  std::shared_ptr<URLSession> makeSession(
      std::optional<platform::Clock::Duration> requestTimeout) override;
  std::shared_ptr<URLSession> makeBackgroundSession() override;

 private:
  friend class SimURLSession;
  platform::Queues& queues_;
};

}  // namespace tessel::test
