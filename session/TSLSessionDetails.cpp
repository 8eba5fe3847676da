// How a session fetches its hub's device details.
#include <utility>

#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/URLPath.h"
#include "session/UTF8.h"
#include "session/deviceDetail.h"
#include "tessel/TSLSession.h"
#include "tessel/URLSession.h"
#include "wire/DetailsURL.h"

namespace tessel {
namespace {

// Evaluates a hub's answer and sets the launch data of the session, where it still exists.
std::optional<Error> evaluate(const std::weak_ptr<TSLSession>& weak, const Bytes& body,
                              const URLResponse& response) {
  const auto applicationURL = response.header("Application-URL").value_or("");
  const auto document = textFromUTF8(body).value_or("");
  if (applicationURL.empty() || document.empty()) return Error{TSLErrorDomain, 6, ""};
  const auto session = weak.lock();
  if (session) {
    session->setApplicationURL(platform::urlFromText(applicationURL));
    session->setDeviceDetailsXML(document);
  }
  const auto detail = deviceDetail::initWithSession(session);
  platform::services().xml->parse(body, *detail);
  if (!session || !session->busyStatus()) return std::nullopt;
  return Error{TSLErrorDomain, 9, "Hub is busy and is not able to accept new casting sessions."};
}

}  // namespace

std::string TSLSession::deviceDetailsURL() const {
  platform::log("%s: ENTER/EXIT", "-[TSLSession deviceDetailsURL]");
  return detailsURL(hostName().value_or("(null)"));
}

void TSLSession::fetchDeviceDetailsWithCompletionHandler(
    std::function<void(std::optional<Error>)> completion) {
  platform::log("%s: ENTER/EXIT", "-[TSLSession fetchDeviceDetailsWithCompletionHandler:]");
  URLSession::tsl_sessionWithDefaultConfiguration()->dataTask(
      {deviceDetailsURL(), "GET"},
      [weak = weak_from_this(), completion = std::move(completion)](
          const Bytes& body, const URLResponse& response, const std::optional<Error>& error) {
        completion(error ? error : evaluate(weak, body, response));
      });
}

}  // namespace tessel
