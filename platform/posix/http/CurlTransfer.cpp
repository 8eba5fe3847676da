#include "platform/posix/http/CurlTransfer.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/URLSessions.h"
#include "platform/base/URLPath.h"

namespace tessel::platform {
namespace {

constexpr long kMaxRedirects = 16;
constexpr const char* kProtocols = "http,https";

Error urlError(CURLcode code, std::string sentence) {
  return {kURLErrorDomain, code, std::move(sentence)};
}

struct FreeUrl {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

// A piece of `url`; empty when there is none.
std::string part(CURLU* url, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(url, which, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) return {};
  std::string copy = text;
  curl_free(text);
  return copy;
}

// curl leaves the end of the line in the value of a field that has none.
std::string_view trimmed(std::string_view value) {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  const auto first = value.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return value.substr(first, value.find_last_not_of(kWhiteSpace) - first + 1);
}

}  // namespace

std::optional<Error> CurlTransfer::check() {
  const URLRequest& request = order_.request;
  if (holdsSpaceOrControl(request.url))
    return urlError(CURLE_URL_MALFORMAT, "The URL holds a space or a control character.");
  const std::unique_ptr<CURLU, FreeUrl> url{curl_url()};
  if (!url || curl_url_set(url.get(), CURLUPART_URL, request.url.c_str(),
                           CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
    return urlError(CURLE_URL_MALFORMAT, "The URL is not valid.");
  const std::string scheme = part(url.get(), CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https")
    return urlError(CURLE_UNSUPPORTED_PROTOCOL, "Only http and https URLs are supported.");
  if (request.method != "GET" && request.method != "POST")
    return urlError(CURLE_UNSUPPORTED_PROTOCOL, "Only GET and POST requests are supported.");
  server_ = part(url.get(), CURLUPART_HOST) + ":" + part(url.get(), CURLUPART_PORT);
  return std::nullopt;
}

CURL* CurlTransfer::open() {
  handle_.reset(curl_easy_init());
  if (!handle_) return nullptr;
  CURL* handle = handle_.get();
  curl_easy_setopt(handle, CURLOPT_URL, order_.request.url.c_str());
  curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, details_.data());
  curl_easy_setopt(handle, CURLOPT_USERAGENT, "Tessel/" TESSEL_VERSION);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, onBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, onHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
  setLimits();
  setMethod();
  setTrust();
  return handle;
}

void CurlTransfer::setLimits() {
  CURL* handle = handle_.get();
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(order_.timeout.count()));
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE, static_cast<long>(kMaxBodySize));
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_MAXREDIRS, kMaxRedirects);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, kProtocols);
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, kProtocols);
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  // A receiver is a small machine: no connection to it is kept open between two requests.
  curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
  // Receivers are in the local network, and the other channels to them go past any proxy too.
  curl_easy_setopt(handle, CURLOPT_PROXY, "");
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  // A transfer that ends during name resolution does not wait for the resolver, which would block
  // all other transfers.
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
}

void CurlTransfer::setMethod() {
  if (order_.request.method != "POST") return;
  CURL* handle = handle_.get();
  curl_easy_setopt(handle, CURLOPT_POST, 1L);
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, 0L);
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, "");
  headers_.reset(curl_slist_append(nullptr, "Content-Type:"));  // without a body, none
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers_.get());
}

// Who is trusted, and that it is checked, are curl's defaults; these come on top.
void CurlTransfer::setTrust() {
  if (!order_.certificates.empty())
    curl_easy_setopt(handle_.get(), CURLOPT_CAINFO, order_.certificates.c_str());
}

// Taking less than was offered ends the transfer.
std::size_t CurlTransfer::onBody(char* bytes, std::size_t, std::size_t count, void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (count > kMaxBodySize - transfer.body_.size()) {
    transfer.tooLarge_ = "The answer is larger than 1 MiB.";
    return 0;
  }
  transfer.body_.insert(transfer.body_.end(), bytes, bytes + count);
  return count;
}

// Called with one line, its end included.
std::size_t CurlTransfer::onHeader(char* bytes, std::size_t, std::size_t count, void* self) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  const std::string_view line{bytes, count};
  if (line.starts_with("HTTP/")) transfer.headerEnded_ = false;
  if (line == "\r\n" || line == "\n") transfer.headerEnded_ = true;
  transfer.headerBytes_ += count;
  if (transfer.headerBytes_ <= kMaxHeaderSize) return count;
  transfer.tooLarge_ = "The answer's header is larger than 64 KiB.";
  return 0;
}

void CurlTransfer::finish(CURLcode outcome) {
  // To curl, a header that stops in the middle is the end of one.
  if (outcome == CURLE_OK && !headerEnded_) outcome = CURLE_PARTIAL_FILE;
  if (outcome != CURLE_OK) return fail(describe(outcome));
  complete(response(), std::nullopt);
}

void CurlTransfer::fail(Error error) {
  body_.clear();
  complete({}, std::move(error));
}

Error CurlTransfer::describe(CURLcode outcome) const {
  if (!tooLarge_.empty()) return urlError(CURLE_FILESIZE_EXCEEDED, tooLarge_);
  switch (outcome) {
    case CURLE_FILESIZE_EXCEEDED:
      return urlError(outcome, "The answer is larger than 1 MiB.");
    case CURLE_OPERATION_TIMEDOUT:
      return urlError(outcome, "The request timed out.");
    case CURLE_COULDNT_CONNECT:
      return urlError(outcome, "Could not connect to the server.");
    case CURLE_COULDNT_RESOLVE_HOST:
      return urlError(outcome, "A server with this name could not be found.");
    case CURLE_TOO_MANY_REDIRECTS:
      return urlError(outcome, "The server redirects too often.");
    case CURLE_PEER_FAILED_VERIFICATION:
      return urlError(outcome, "The server's certificate is not trusted.");
    case CURLE_PARTIAL_FILE:
      return urlError(outcome, "The server closed the connection in the middle of its answer.");
    case CURLE_GOT_NOTHING:
      return urlError(outcome, "The server closed the connection without an answer.");
    default:
      return urlError(outcome, details_[0] ? details_.data() : curl_easy_strerror(outcome));
  }
}

// Of the last answer alone: neither redirects, nor interim answers, nor trailers.
URLResponse CurlTransfer::response() const {
  URLResponse response;
  curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &response.statusCode);
  constexpr int kLastRequest = -1;
  curl_header* header = nullptr;
  while ((header = curl_easy_nextheader(handle_.get(), CURLH_HEADER, kLastRequest, header))) {
    std::string name = header->name;
    std::ranges::transform(name, name.begin(), [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    response.headers[name] = trimmed(header->value);
  }
  return response;
}

void CurlTransfer::complete(URLResponse response, std::optional<Error> error) {
  SerialQueue& queue = order_.callbackQueue->get();
  queue.async([completion = std::move(order_.completion), body = std::move(body_),
               response = std::move(response),
               error = std::move(error)] { completion(body, response, error); });
}

}  // namespace tessel::platform
