#include "session/deviceDetail.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/Log.h"
#include "platform/base/URLPath.h"
#include "session/IntegerValue.h"
#include "tessel/TSLSession.h"

namespace tessel {
namespace {

struct Version {
  std::string_view major;
  std::string_view minor;
};

constexpr Version kNewProtocol{"1", "4"};
constexpr Version kMultiTokenProtocol{"1", "6"};

// The parts of a version of exactly two parts.
std::optional<Version> versionOf(std::string_view text) {
  if (std::count(text.begin(), text.end(), '.') != 1) return std::nullopt;
  const auto dot = text.find('.');
  return Version{text.substr(0, dot), text.substr(dot + 1)};
}

// Whether each part of `version` reaches that of `threshold`. Not a version order: 2.0 does not
// reach 1.4.
bool reaches(const Version& version, const Version& threshold) {
  return integerValue(version.major) >= integerValue(threshold.major) &&
         integerValue(version.minor) >= integerValue(threshold.minor);
}

std::int32_t clampedTo32Bits(std::int64_t value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

}  // namespace

std::shared_ptr<deviceDetail> deviceDetail::initWithSession(
    const std::shared_ptr<TSLSession>& session) {
  std::shared_ptr<deviceDetail> detail{new deviceDetail};
  detail->setSession(session);
  return detail;
}

void deviceDetail::didStartElement(const std::string& elementName) { xmlelement_ = elementName; }

void deviceDetail::foundCharacters(const std::string& text) {
  if (xmlelement_ == "specVersion" && text.size() >= 2) {
    readSpecVersion(text);
  } else if (xmlelement_ == "SSL") {
    readSSL(text);
  } else if (xmlelement_ == "busy") {
    readBusy(text);
  }
}

void deviceDetail::readSpecVersion(const std::string& text) {
  const auto version = versionOf(text);
  if (!version) return;
  const auto session = session_.lock();
  if (session && reaches(*version, kNewProtocol)) {
    session->setNewProtocol(true);
    if (reaches(*version, kMultiTokenProtocol)) session->setMultiTokenProtocol(true);
    const std::string first =
        std::string{kNewProtocol.major} + "." + std::string{kNewProtocol.minor};
    session->setApplicationName(text == first ? "ReceiverAppV2" : "CasterApp");
  }
  platform::log("Application Name:%s", session ? session->applicationName().c_str() : "(null)");
}

void deviceDetail::readSSL(const std::string& text) {
  const auto value = integerValue(text);
  if (value <= 0) return;
  platform::log("Hub has enabled SSL connection.");
  const auto session = session_.lock();
  if (!session) return;
  session->setLauchport(clampedTo32Bits(value));
  session->setSslEnabled(true);
  const std::string url = "https://" + session->hostName().value_or("(null)") + ":" +
                          std::to_string(session->lauchport()) + "/apps/";
  session->setApplicationURL(platform::urlFromText(url));
  platform::log("New lauch url is %s", url.c_str());
}

void deviceDetail::readBusy(const std::string& text) {
  if (integerValue(text) != 1) return;
  platform::log("Hub is busy and will not accept any new session.");
  if (const auto session = session_.lock()) session->setBusyStatus(true);
}

}  // namespace tessel
