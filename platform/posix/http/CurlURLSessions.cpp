#include "platform/posix/http/CurlURLSessions.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "platform/posix/http/CallbackQueue.h"
#include "platform/posix/http/CurlTransfer.h"
#include "platform/posix/http/HttpServices.h"
#include "platform/posix/http/TransferThread.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds kDefaultTimeout{60};

class CurlURLSession : public URLSession {
 public:
  CurlURLSession(std::shared_ptr<CallbackQueue> callbackQueue, milliseconds timeout,
                 TransferClass transferClass)
      : callbackQueue_{std::move(callbackQueue)},
        timeout_{timeout},
        transferClass_{transferClass} {}

  void dataTask(const URLRequest& request, Completion completion) override {
    const char* certificates = std::getenv("SSL_CERT_FILE");
    auto transfer = std::make_unique<CurlTransfer>(
        CurlTransfer::Order{.request = request,
                            .timeout = timeout_,
                            .transferClass = transferClass_,
                            .certificates = certificates ? certificates : "",
                            .completion = std::move(completion),
                            .callbackQueue = callbackQueue_});
    if (auto error = transfer->check()) return transfer->fail(*std::move(error));
    TransferThread::shared().start(std::move(transfer));
  }

 private:
  const std::shared_ptr<CallbackQueue> callbackQueue_;  // shared with the transfers
  const milliseconds timeout_;
  const TransferClass transferClass_;
};

}  // namespace

// To curl, 0 means no time-out at all.
milliseconds transferTimeout(std::optional<Clock::Duration> requestTimeout) {
  const Clock::Duration timeout = requestTimeout.value_or(kDefaultTimeout);
  return std::max(std::chrono::ceil<milliseconds>(timeout), milliseconds{1});
}

CurlURLSessions::CurlURLSessions(std::shared_ptr<Queues> queues)
    : queues_{std::move(queues)}, backgroundQueue_{std::make_shared<CallbackQueue>(queues_)} {}

std::shared_ptr<URLSession> CurlURLSessions::makeSession(
    std::optional<Clock::Duration> requestTimeout) {
  return std::make_shared<CurlURLSession>(
      std::make_shared<CallbackQueue>(queues_), transferTimeout(requestTimeout),
      requestTimeout ? TransferClass::kPolling : TransferClass::kDefault);
}

std::shared_ptr<URLSession> CurlURLSessions::makeBackgroundSession() {
  return std::make_shared<CurlURLSession>(backgroundQueue_, transferTimeout(std::nullopt),
                                          TransferClass::kBackground);
}

std::shared_ptr<URLSessions> makeURLSessions(std::shared_ptr<Queues> queues) {
  return std::make_shared<CurlURLSessions>(std::move(queues));
}

}  // namespace tessel::platform
