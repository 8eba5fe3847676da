#pragma once

#include <optional>
#include <string>
#include <variant>

#include "apps/common/CommandLine.h"
#include "apps/tessel-hub/http/ProtocolVariant.h"

namespace tessel::hub {

/// The options of the command line.
struct HubOptions {
  static constexpr int kDefaultTlsPort = 8443;

  std::string bind = "0.0.0.0";
  std::string name;  ///< this machine's name if not given
  ProtocolVariant variant;
  int tlsPort = 0;  ///< 0: no TLS
  std::string certificateFile;
  std::string keyFile;
  std::string writeCertificate;
  bool headless = false;
  bool fullscreen = false;
  std::string record;
  std::string snapshot;
  std::string script;
  bool advertise = true;
  bool json = false;
  bool frameEvents = false;
  std::string log;

  using Answer = apps::CommandLineAnswer;

  static std::variant<HubOptions, Answer> parse(int argc, const char* const* argv);
};

}  // namespace tessel::hub
