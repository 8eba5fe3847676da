#pragma once

#include <string>
#include <string_view>

namespace tessel::hub {

/// What the hub tells about itself before anybody casts to it.
struct DeviceDetails {
  std::string version;
  std::string friendlyName;
  /// Port of the application service over TLS; 0 where there is none.
  int tlsPort = 0;
  bool busy = false;

  /// The document, in one line without white space between its elements: senders take the text that
  /// stands before the next start tag, so a line feed and an indentation would replace the name.
  std::string xml() const;
};

/// `text` as it stands between two tags: markup escaped, what XML cannot carry left out.
std::string escapedXml(std::string_view text);

/// `address` as it stands in a URL: in brackets if it is an IPv6 one.
std::string urlHost(std::string_view address);

}  // namespace tessel::hub
