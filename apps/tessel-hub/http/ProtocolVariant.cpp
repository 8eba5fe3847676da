#include "apps/tessel-hub/http/ProtocolVariant.h"

#include <charconv>

namespace tessel::hub {
namespace {

std::optional<int> number(std::string_view text) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || text.front() == '-' || error != std::errc{} || rest != end) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

std::optional<ProtocolVariant> ProtocolVariant::forVersion(std::string_view version) {
  const std::size_t dot = version.find('.');
  if (dot == std::string_view::npos) return std::nullopt;
  const std::optional<int> major = number(version.substr(0, dot));
  const std::optional<int> minor = number(version.substr(dot + 1));
  if (!major || !minor) return std::nullopt;

  ProtocolVariant variant;
  variant.version = version;
  variant.newProtocol = *major >= 1 && *minor >= 4;
  variant.multiToken = *major >= 1 && *minor >= 6;
  variant.applicationName = !variant.newProtocol ? "ReceiverAppV1"
                            : version == "1.4"   ? "ReceiverAppV2"
                                                 : "CasterApp";
  return variant;
}

}  // namespace tessel::hub
