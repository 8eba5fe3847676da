#include "tests/support/SimHTTP.h"

#include <cctype>
#include <utility>

namespace tessel::test {
namespace {

constexpr std::chrono::seconds kDefaultTimeout{60};

}  // namespace

class SimURLSession final : public URLSession {
 public:
  SimURLSession(SimHTTP& http, platform::Clock::Duration timeout, bool background)
      : http_{http},
        timeout_{timeout},
        background_{background},
        queue_{http.queues_.makeSerialQueue("URL session")} {}

  void dataTask(const URLRequest& request, Completion completion) override {
    auto exchange = std::make_shared<SimExchange>();
    exchange->request = request;
    exchange->timeout = timeout_;
    exchange->background = background_;
    exchange->completion_ = std::move(completion);
    exchange->queue_ = queue_;
    exchange->timer_ = http_.queues_.makeTimer(
        http_.queues_.makeSerialQueue("URL session time-out"), timeout_, timeout_,
        [weak = std::weak_ptr{exchange}] {
          if (const auto self = weak.lock()) {
            self->fail({platform::kURLErrorDomain, 28, "The request timed out."});
          }
        });
    exchange->timer_->resume();
    http_.requests.push_back(exchange);
    if (http_.onRequest) http_.onRequest(*exchange);
  }

 private:
  SimHTTP& http_;
  const platform::Clock::Duration timeout_;
  const bool background_;
  const std::shared_ptr<platform::SerialQueue> queue_;
};

void SimExchange::respond(const std::string& body,
                          const std::map<std::string, std::string>& headers, long status) {
  URLResponse response;
  response.statusCode = status;
  for (const auto& [name, value] : headers) {
    std::string lower = name;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    response.headers[lower] = value;
  }
  finish(Bytes{body.begin(), body.end()}, std::move(response), std::nullopt);
}

void SimExchange::fail(const Error& error) { finish({}, {}, error); }

void SimExchange::finish(Bytes body, URLResponse response, std::optional<Error> error) {
  if (std::exchange(answered, true)) return;
  timer_->cancel();
  queue_->async([completion = std::exchange(completion_, nullptr), body = std::move(body),
                 response = std::move(response),
                 error = std::move(error)] { completion(body, response, error); });
}

std::shared_ptr<SimExchange> SimHTTP::last() const {
  return requests.empty() ? nullptr : requests.back();
}

std::shared_ptr<URLSession> SimHTTP::makeSession(
    std::optional<platform::Clock::Duration> requestTimeout) {
  ++sessionsMade;
  lastRequestTimeout = requestTimeout;
  return std::make_shared<SimURLSession>(*this, requestTimeout.value_or(kDefaultTimeout), false);
}

std::shared_ptr<URLSession> SimHTTP::makeBackgroundSession() {
  ++sessionsMade;
  return std::make_shared<SimURLSession>(*this, kDefaultTimeout, true);
}

}  // namespace tessel::test
