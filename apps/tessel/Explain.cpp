#include "apps/tessel/Explain.h"

#include "wire/Ports.h"

namespace tessel::apps {
namespace {

constexpr const char* kPatternRemedy = "The test picture needs no display (--screen pattern).";

// Codes of HTTP errors.
constexpr const char* kHttpDomain = "tessel.url";
constexpr long kNotTrusted = 60;
constexpr long kTooLarge = 63;
constexpr long kTrustUnreadable = 77;

std::string explainOwn(const Error& error, const std::string& host) {
  switch (error.code) {
    case 2:
      return "No hub was named: give its address, --name or --first.";
    case 3:
      return error.localizedDescription.empty()
                 ? "A channel to the hub at " + host +
                       " could not be opened: check that no firewall blocks its ports " +
                       kChannelsPort.text + " and " + kOldInputPort.text +
                       " and, where it uses TLS, that its certificate is trusted "
                       "(SSL_CERT_FILE), then try again."
                 : error.localizedDescription + " Check that the hub at " + host +
                       " is still on, then cast again.";
    case 5:
      return "Connecting was cancelled.";
    case 6:
      return "The device at " + host +
             " answered, but not as a hub does: check that the address is a hub's.";
    case 7:
      return "The hub at " + host +
             " did not get ready to show the picture within 5 seconds: try again, and restart the "
             "hub if that does not help.";
    case 9:
      return error.localizedDescription + " Wait until its present session has ended, or pick " +
             "another hub.";
    default:
      return "The hub at " + host + " ended the session (code " + std::to_string(error.code) +
             "): try again.";
  }
}

}  // namespace

std::string explain(const Error& error, const std::string& host) {
  if (error.domain == TSLErrorDomain) return explainOwn(error, host);
  std::string reason = error.localizedDescription;
  while (reason.ends_with('.')) reason.pop_back();
  if (reason.empty()) reason = "error " + std::to_string(error.code) + " of " + error.domain;
  if (error.domain == "AVFoundationErrorDomain" || error.domain == "NSOSStatusErrorDomain") {
    return "This machine's screen cannot be cast (" + reason +
           "): run \"tessel doctor\" to see what is missing.";
  }
  if (error.domain == kHttpDomain && error.code == kNotTrusted) {
    return "The certificate of the hub at " + host +
           " is not trusted: set the environment variable SSL_CERT_FILE to a file that holds it "
           "(tessel-hub --write-cert FILE makes one), and cast to the address or the name that it "
           "was made for.";
  }
  if (error.domain == kHttpDomain && error.code == kTrustUnreadable) {
    return "The certificates to trust cannot be read (" + reason +
           "): set the environment variable SSL_CERT_FILE to a file that holds the hub's "
           "certificate.";
  }
  if (error.domain == kHttpDomain && error.code == kTooLarge) {
    return "The device at " + host + " answered with more than a hub does (" + reason +
           "): check that the address is a hub's.";
  }
  return "The hub at " + host + " cannot be reached (" + reason +
         "): check the address, and that this computer is in the hub's network.";
}

std::string advice(const Obstacle& obstacle, ScreenSource source) {
  if (source == ScreenSource::kPattern) return obstacle.advice;
  return obstacle.advice.empty() ? kPatternRemedy : obstacle.advice + " " + kPatternRemedy;
}

std::string advice(const Finding& finding) {
  if (finding.usable || finding.area != "screen") return finding.advice;
  return finding.advice.empty() ? kPatternRemedy : finding.advice + " " + kPatternRemedy;
}

}  // namespace tessel::apps
