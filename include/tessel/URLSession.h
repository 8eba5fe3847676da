#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tessel/Error.h"
#include "tessel/Export.h"
#include "tessel/Types.h"

namespace tessel {

/// An HTTP request. It has no body.
struct URLRequest {
  /// An absolute http or https URL.
  std::string url;
  /// "GET" or "POST".
  std::string method = "GET";
};

/// What a server answered.
struct URLResponse {
  long statusCode = 0;
  /// Header fields: names in lower case, values without surrounding white space; the last one wins
  /// where a name repeats.
  std::map<std::string, std::string> headers;

  /// The value of a header field, its name in any letter case.
  TESSEL_EXPORT std::optional<std::string> header(const std::string& name) const;
};

/// A small HTTP client.
///
/// Transfers run at the same time, also those of different sessions: up to six to one server, and
/// up to 96 in all. Further ones are queued. Completions come one at a time on the session's own
/// callback queue. A completion may block for seconds: that delays only the other completions of
/// this session. A transfer holds what it needs, so the session may be dropped while one is under
/// way. Any thread may call.
class TESSEL_EXPORT URLSession {
 public:
  /// Called once. With an error, `body` and `response` say nothing.
  using Completion = std::function<void(const Bytes& body, const URLResponse& response,
                                        const std::optional<Error>& error)>;

  virtual ~URLSession() = default;

  /// Starts a transfer and returns at once. At most 16 redirects are followed, certificates are
  /// checked, and a body over 1 MiB ends the transfer with an error, as does a full queue.
  virtual void dataTask(const URLRequest& request, Completion completion) = 0;

  /// A new session with the platform's default settings: a transfer may take 60 seconds from its
  /// start, without the time that it is queued.
  static std::shared_ptr<URLSession> tsl_sessionWithDefaultConfiguration();
};

}  // namespace tessel
