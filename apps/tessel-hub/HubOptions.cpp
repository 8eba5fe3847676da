#include "apps/tessel-hub/HubOptions.h"

#include <CLI/CLI.hpp>
#include <array>
#include <asio/ip/address.hpp>
#include <unistd.h>
#include <utility>

#include "wire/Ports.h"

namespace tessel::hub {
namespace {

using apps::numberFrom;
using apps::quotedWord;
using apps::WrongUsage;

constexpr const char* kDefaultVersion = "1.6";
constexpr const char* kFooter =
    "In the window, Ctrl+Alt+F fills the screen, or not any more, and Ctrl+Alt+Q ends the hub; so "
    "does Ctrl+C\nwhere it was started.";

std::string machineName() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "Tessel hub";
  return name.data();
}

std::string addressFrom(const std::string& text) {
  asio::error_code error;
  const auto address = asio::ip::make_address(text, error);
  if (!error && (address.is_v4() || address == asio::ip::address_v6::any())) return text;
  throw WrongUsage{
      "--bind takes an IPv4 address of this machine, or :: for all its addresses, not " +
      quotedWord(text)};
}

ProtocolVariant variantFrom(const std::string& version) {
  if (const auto variant = ProtocolVariant::forVersion(version)) return *variant;
  throw WrongUsage{"--version takes two numbers joined by a dot, such as 1.6, not " +
                   quotedWord(version)};
}

int tlsPortFrom(const std::string& text) {
  const auto port = numberFrom<int>(text);
  if (!port || *port < 1 || *port > 65535) {
    throw WrongUsage{"--tls takes a port from 1 to 65535, not " + quotedWord(text)};
  }
  if (*port == kDetailsPort.number || *port == kChannelsPort.number ||
      *port == kOldInputPort.number) {
    throw WrongUsage{"Port " + std::to_string(*port) +
                     " is one of the hub's others: give --tls another one"};
  }
  return *port;
}

// Whether the options contradict each other.
void checkTogether(const HubOptions& options) {
  if (options.certificateFile.empty() != options.keyFile.empty()) {
    throw WrongUsage{"--cert and --key belong together: give both, or none"};
  }
  if (options.tlsPort == 0 &&
      !(options.certificateFile.empty() && options.writeCertificate.empty())) {
    throw WrongUsage{"--cert, --key and --write-cert need --tls"};
  }
  if (options.headless && options.fullscreen) {
    throw WrongUsage{"--headless has no window to fill a screen"};
  }
  if (options.frameEvents && !options.json) throw WrongUsage{"--frame-events needs --json"};
}

void declare(CLI::App& app, HubOptions& options) {
  app.add_option_function<std::string>(
         "--bind", [&options](const std::string& text) { options.bind = addressFrom(text); },
         "IPv4 address to listen at; all of this machine's if not given")
      ->type_name("ADDRESS");
  app.add_option("--name", options.name, "Name that senders show; this machine's if not given")
      ->type_name("NAME");
  app.add_option_function<std::string>(
         "--version", [&options](const std::string& text) { options.variant = variantFrom(text); },
         "Version to speak: 1.3, 1.4, 1.5, 1.6, ...")
      ->type_name("X.Y")
      ->default_str(kDefaultVersion);
  app.add_option_function<std::string>(
         "--tls",
         [&options](const std::string& text) {
           options.tlsPort = text.empty() ? HubOptions::kDefaultTlsPort : tlsPortFrom(text);
         },
         "Serve with TLS; the port of the application service, 8443 if not given")
      ->type_name("[PORT]")
      ->expected(0, 1);
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
  options.variant = variantFrom(kDefaultVersion);
  CLI::App app{"Receives a cast screen: a hub for tessel cast.", "tessel-hub"};
  app.footer(kFooter);
  declare(app, options);
  app.callback([&options] { checkTogether(options); });
  if (auto answer = apps::parseCommandLine(app, argc, argv)) {
    if (answer->exitCode != 0) answer->text.insert(0, "tessel-hub: ");
    return *std::move(answer);
  }
  if (options.name.empty()) options.name = machineName();
  return options;
}

}  // namespace tessel::hub
