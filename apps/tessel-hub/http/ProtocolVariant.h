#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessel::hub {

/// How senders talk to a hub of a version. Major and minor number are compared separately: 2.0 is
/// an old hub, 1.10 a multi-token one.
struct ProtocolVariant {
  std::string version;
  /// All channels use one port; their opening messages differ.
  bool newProtocol = false;
  /// Each launch has a resource of its own, named by its token.
  bool multiToken = false;
  /// The application that senders launch.
  std::string applicationName;

  /// None if `version` is not two decimal numbers joined by a dot.
  static std::optional<ProtocolVariant> forVersion(std::string_view version);
};

}  // namespace tessel::hub
