#pragma once

#include <string>
#include <string_view>

namespace tessel::hub {

/// The document by which a hub describes itself to senders.
struct DeviceDetails {
  std::string version;
  std::string friendlyName;
  /// Port of the application service with TLS; 0 without TLS.
  int tlsPort = 0;
  bool busy = false;

  /// The document, without white space between its elements: a sender keeps the last text before
  /// the next start tag, so a line feed and an indentation would replace the name.
  std::string xml() const;
};

/// `text` as the content of an XML element: markup escaped, control characters left out.
std::string escapedXml(std::string_view text);

/// `address` as the host of a URL: an IPv6 address in brackets, an IPv4-mapped one as IPv4.
std::string urlHost(std::string_view address);

}  // namespace tessel::hub
