#include "HubOptions.h"

#include <CLI/CLI.hpp>
#include <array>
#include <asio/ip/address.hpp>
#include <unistd.h>

namespace tessel::hub {
namespace {

constexpr int kWrongUsage = 2;
constexpr const char* kFooter =
    "In the window, Ctrl+Alt+F fills the screen, or not any more, and Ctrl+Alt+Q ends the hub; so "
    "does Ctrl+C\nwhere it was started.";

HubOptions::Answer wrongUsage(const std::string& sentence) {
  return {kWrongUsage, "tessel-hub: " + sentence + " See tessel-hub --help.\n"};
}

std::string machineName() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "Tessel hub";
  return name.data();
}

// Where options contradict each other or do not make sense: the sentence to say, else empty.
std::string complaint(const HubOptions& options, const std::string& version) {
  asio::error_code error;
  asio::ip::make_address(options.bind, error);
  if (error) return "--bind takes an IP address of this machine, not \"" + options.bind + "\".";
  if (!ProtocolVariant::forVersion(version)) {
    return "--version takes two numbers joined by a dot, such as 1.6, not \"" + version + "\".";
  }
  if (options.certificateFile.empty() != options.keyFile.empty()) {
    return "--cert and --key belong together: give both, or none.";
  }
  if (options.tlsPort == 0 &&
      !(options.certificateFile.empty() && options.writeCertificate.empty())) {
    return "--cert, --key and --write-cert need --tls.";
  }
  if (options.headless && options.fullscreen) return "--headless has no window to fill a screen.";
  if (options.frameEvents && !options.json) return "--frame-events needs --json.";
  return {};
}

void declare(CLI::App& app, HubOptions& options, std::string& version, int& tls) {
  app.add_option("--bind", options.bind, "Address to listen at; all of this machine's if not given")
      ->type_name("ADDRESS");
  app.add_option("--name", options.name, "Name that senders show; this machine's if not given")
      ->type_name("NAME");
  app.add_option("--version", version, "Version to speak: 1.3, 1.4, 1.5, 1.6, ...")
      ->type_name("X.Y")
      ->default_str(version);
  app.add_option("--tls", tls,
                 "Serve with TLS; the port of the application service, 8443 if not given")
      ->type_name("[PORT]")
      ->expected(0, 1)
      ->check(CLI::Range(1, 65535));
  app.add_option("--cert", options.certificateFile,
                 "Certificate for TLS (PEM); made up if not given")
      ->type_name("FILE");
  app.add_option("--key", options.keyFile, "Private key of the certificate (PEM)")
      ->type_name("FILE");
  app.add_option("--write-cert", options.writeCertificate,
                 "Write the certificate there, for senders to trust it by SSL_CERT_FILE")
      ->type_name("FILE");
  app.add_flag("--headless", options.headless, "Without a window");
  app.add_flag("--fullscreen", options.fullscreen, "With a window that fills the screen");
  app.add_option("--record", options.record, "Write the video stream to this file")
      ->type_name("FILE.h264");
  app.add_option("--snapshot", options.snapshot,
                 "Write the last picture there at the end and on SIGUSR1")
      ->type_name("FILE.png");
  app.add_option("--script", options.script,
                 "Play the mouse and keyboard of this file instead of the window's")
      ->type_name("FILE");
  app.add_flag_callback(
      "--no-advertise", [&options] { options.advertise = false; }, "Stay silent on Bluetooth");
  app.add_flag("--json", options.json, "Tell what happens as JSON, one object a line");
  app.add_flag("--frame-events", options.frameEvents, "With --json: an event for each frame");
  app.add_option("--log", options.log,
                 "Write what happens in detail to this file, - for standard error")
      ->type_name("FILE");
}

}  // namespace

std::variant<HubOptions, HubOptions::Answer> HubOptions::parse(int argc, const char* const* argv) {
  HubOptions options;
  std::string version = "1.6";
  int tls = 0;
  CLI::App app{"Receives a cast screen: a hub for tessel cast.", "tessel-hub"};
  app.footer(kFooter);
  declare(app, options, version, tls);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return Answer{0, app.help()};
  } catch (const CLI::ParseError& error) {
    return wrongUsage(std::string{error.what()} + ".");
  }
  if (app.count("--tls") > 0) options.tlsPort = tls != 0 ? tls : kDefaultTlsPort;
  if (const std::string sentence = complaint(options, version); !sentence.empty()) {
    return wrongUsage(sentence);
  }
  options.variant = *ProtocolVariant::forVersion(version);
  if (options.name.empty()) options.name = machineName();
  return options;
}

}  // namespace tessel::hub
