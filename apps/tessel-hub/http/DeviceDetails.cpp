#include "apps/tessel-hub/http/DeviceDetails.h"

namespace tessel::hub {

std::string DeviceDetails::xml() const {
  std::string text = R"(<?xml version="1.0" encoding="UTF-8"?><device>)";
  text += "<specVersion>" + escapedXml(version) + "</specVersion>";
  text += "<friendlyName>" + escapedXml(friendlyName) + "</friendlyName>";
  text += "<SSL>" + std::to_string(tlsPort) + "</SSL>";
  text += std::string{"<busy>"} + (busy ? "1" : "0") + "</busy>";
  text += "</device>";
  return text;
}

std::string escapedXml(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        // XML 1.0 allows no control characters, not even escaped.
        if (static_cast<unsigned char>(c) >= 0x20) escaped += c;
    }
  }
  return escaped;
}

std::string urlHost(std::string_view address) {
  constexpr std::string_view kMapped = "::ffff:";
  if (address.starts_with(kMapped) && address.find('.') != std::string_view::npos) {
    address.remove_prefix(kMapped.size());
  }
  if (address.find(':') == std::string_view::npos) return std::string{address};
  return "[" + std::string{address} + "]";
}

}  // namespace tessel::hub
