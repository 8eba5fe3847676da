#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessel::hub {

/// What a hub's version says about how senders talk to it. The parts of a version are compared one
/// by one, not as a version order: 2.0 is an old hub, 1.10 a multi-token one.
struct ProtocolVariant {
  std::string version;
  /// All channels on one port, told apart by their opening messages.
  bool newProtocol = false;
  /// Each launch has a resource of its own, named by its token.
  bool multiToken = false;
  /// The application that senders launch.
  std::string applicationName;

  /// Nothing if `version` is not two decimal numbers joined by a dot.
  static std::optional<ProtocolVariant> forVersion(std::string_view version);
};

}  // namespace tessel::hub
