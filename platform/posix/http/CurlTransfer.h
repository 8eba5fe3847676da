#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <string>

#include "platform/posix/http/CallbackQueue.h"
#include "tessel/URLSession.h"

namespace tessel::platform {

/// Limits in bytes: of an answer's body, and of the header lines of all answers on the way to it.
inline constexpr std::size_t kMaxBodySize = std::size_t{1} << 20;
inline constexpr std::size_t kMaxHeaderSize = 65536;

/// Transfers of one class queue together; those of different classes never wait for each other.
enum class TransferClass {
  kDefault,     ///< up to a minute each
  kPolling,     ///< with a time-out of the session's own
  kBackground,  ///< their results are not urgent
};
inline constexpr std::size_t kTransferClasses = 3;

/// One request and its answer. Made on any thread, then used on the transfer thread alone.
class CurlTransfer {
 public:
  struct Order {
    URLRequest request;
    std::chrono::milliseconds timeout{};
    TransferClass transferClass = TransferClass::kDefault;
    std::string certificates;  ///< a file of certificates to trust besides the usual ones, or empty
    URLSession::Completion completion;
    std::shared_ptr<CallbackQueue> callbackQueue;
  };

  explicit CurlTransfer(Order order) : order_{std::move(order)} {}

  /// What is wrong with the request, if anything; else server() is known from here on.
  std::optional<Error> check();

  /// Host and port.
  const std::string& server() const { return server_; }
  TransferClass transferClass() const { return order_.transferClass; }

  /// The handle to run, owned by this object. Null when there is no memory for one.
  CURL* open();

  /// Ends the transfer with what curl says of it: hands the answer to the callback queue.
  void finish(CURLcode outcome);
  void fail(Error error);

 private:
  struct Cleanup {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  void setLimits();
  void setMethod();
  void setTrust();
  Error describe(CURLcode outcome) const;
  URLResponse response() const;
  void complete(URLResponse response, std::optional<Error> error);

  static std::size_t onBody(char* bytes, std::size_t, std::size_t count, void* self);
  static std::size_t onHeader(char* bytes, std::size_t, std::size_t count, void* self);

  Order order_;
  std::string server_;
  Bytes body_;
  std::size_t headerBytes_ = 0;
  bool headerEnded_ = false;
  std::string tooLarge_;  // what was, as a sentence
  std::array<char, CURL_ERROR_SIZE> details_{};
  std::unique_ptr<curl_slist, Cleanup> headers_;
  std::unique_ptr<CURL, Cleanup> handle_;
};

}  // namespace tessel::platform
