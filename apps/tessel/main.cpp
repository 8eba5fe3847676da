#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "apps/common/CommandLine.h"
#include "apps/common/EventLoop.h"
#include "apps/common/LogFile.h"
#include "apps/common/TerminalText.h"
#include "apps/tessel/Cast.h"
#include "apps/tessel/Discover.h"
#include "apps/tessel/Doctor.h"

namespace tessel::apps {
namespace {

constexpr std::size_t kMaxPathLength = 4096;
constexpr const char* kVersion = "tessel " TESSEL_VERSION;

// An ordinary user cannot write the machine-wide folder: use the configuration folder.
void chooseSharedFolder() {
  if (std::getenv("TESSEL_SHARED_FOLDER") != nullptr) return;
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  const char* home = std::getenv("HOME");
  std::filesystem::path folder;
  if (xdg != nullptr && *xdg == '/') {
    folder = xdg;
  } else if (home != nullptr && *home != '\0') {
    folder = std::filesystem::path{home} / ".config";
  } else {
    return;
  }
  setenv("TESSEL_SHARED_FOLDER", (folder / "tessel").c_str(), 0);
}

// "WIDTHxHEIGHT" within the sizes of screens; else none.
std::optional<Size> parseSize(std::string_view text) {
  const std::size_t cross = text.find('x');
  if (cross == std::string_view::npos) return std::nullopt;
  const auto width = numberFrom<int>(text.substr(0, cross));
  const auto height = numberFrom<int>(text.substr(cross + 1));
  if (!width || *width < 64 || *width > 7680) return std::nullopt;
  if (!height || *height < 64 || *height > 4320) return std::nullopt;
  return Size{static_cast<double>(*width), static_cast<double>(*height)};
}

// "auto", "x11", "pattern" or "pattern:WIDTHxHEIGHT".
void takeScreen(const std::string& text, CastOptions& options) {
  static const std::map<std::string, ScreenSource> kSources{{"auto", ScreenSource::kAutomatic},
                                                            {"x11", ScreenSource::kX11},
                                                            {"pattern", ScreenSource::kPattern}};
  constexpr std::string_view kPattern = "pattern:";
  if (const auto found = kSources.find(text); found != kSources.end()) {
    options.screen = found->second;
    return;
  }
  if (!text.starts_with(kPattern)) {
    throw WrongUsage{"--screen takes auto, x11, pattern or pattern:WIDTHxHEIGHT, not " +
                     quotedWord(text)};
  }
  const auto size = parseSize(std::string_view{text}.substr(kPattern.size()));
  if (!size) {
    throw WrongUsage{
        "--screen pattern:WIDTHxHEIGHT takes a size between 64x64 and 7680x4320, not " +
        quotedWord(text.substr(kPattern.size()))};
  }
  options.screen = ScreenSource::kPattern;
  options.patternSize = *size;
}

// Bounded to what a clock can count. NaN fails both comparisons.
double secondsFrom(const std::string& option, const std::string& text) {
  constexpr double kMaxSeconds = 365.0 * 24 * 60 * 60;
  const auto seconds = numberFrom<double>(text);
  if (seconds && *seconds > 0 && *seconds <= kMaxSeconds) return *seconds;
  throw WrongUsage{option +
                   " takes a number of seconds above 0 and at most 31536000 (a year), not " +
                   quotedWord(text)};
}

std::int64_t displayModeFrom(const std::string& text) {
  if (const auto mode = numberFrom<std::int64_t>(text)) return *mode;
  throw WrongUsage{"--display-mode takes a whole number that 64 bits can hold, not " +
                   quotedWord(text)};
}

class Program {
 public:
  Program() {
    app_.require_subcommand(1);
    app_.set_version_flag("--version", kVersion);
    app_.footer(
        "Examples:\n  tessel discover\n  tessel cast --first\n  tessel cast 192.168.1.100\n  "
        "tessel cast 127.0.0.2 --screen pattern\n"
        "  tessel doctor");
    addDiscover();
    addCast();
    addDoctor();
  }

  int run(int argc, char** argv) {
    if (const auto answer = parseCommandLine(app_, argc, argv)) {
      (answer->exitCode == 0 ? std::cout : std::cerr) << answer->text << std::flush;
      return answer->exitCode;
    }
    return command_();
  }

 private:
  void addDiscover() {
    auto* discover = app_.add_subcommand("discover", "List the hubs in range (Bluetooth LE)");
    addSeconds(*discover, "--timeout", discover_.timeout);
    discover->add_flag("--json", discover_.json, "One JSON object a line for each change");
    discover->callback([this] { command_ = [this] { return runDiscover(loop_, discover_); }; });
  }

  void addCast() {
    auto* cast = app_.add_subcommand("cast", "Cast this machine's screen to a hub");
    cast->add_option("HOST", cast_.host, "Address or host name of the hub")->type_name("");
    cast->add_option("--name", name_, "Cast to the hub that shows this name")->type_name("NAME");
    cast->add_flag("--first", first_, "Cast to the first hub in range");
    addSeconds(*cast, "--duration", cast_.duration);
    cast->add_option_function<std::string>(
            "--display-mode",
            [this](const std::string& text) { cast_.displayMode = displayModeFrom(text); },
            "The session's display mode: a number that a host may give its sessions, for itself. "
            "It changes nothing of the cast; 0 if not given")
        ->type_name("N");
    cast->add_option_function<std::string>(
            "--screen", [this](const std::string& text) { takeScreen(text, cast_); },
            "What to cast: auto (the desktop), x11, or pattern[:WIDTHxHEIGHT], a test picture "
            "that needs no display")
        ->type_name("SOURCE")
        ->default_str("auto");
    cast->add_flag("--stats", cast_.stats, "Tell once a second how the casting goes");
    cast->add_flag("--json", cast_.json, "One JSON object a line on standard output");
    cast->add_option(
            "--log", log_,
            "Write the library's log to FILE (- is standard error). It tells what is typed "
            "at the hub, so only you can read the file")
        ->type_name("FILE");
    cast->callback([this] {
      checkHub();
      command_ = [this] { return runCastCommand(); };
    });
  }

  static void addSeconds(CLI::App& command, const std::string& name,
                         std::optional<double>& seconds) {
    command
        .add_option_function<std::string>(
            name, [name, &seconds](const std::string& text) { seconds = secondsFrom(name, text); },
            "Stop after so many seconds")
        ->type_name("SECONDS");
  }

  void checkHub() const {
    switch ((cast_.host.empty() ? 0 : 1) + (name_.empty() ? 0 : 1) + (first_ ? 1 : 0)) {
      case 0:
        throw WrongUsage{"cast needs the address of a hub, --name or --first"};
      case 1:
        return;
      default:
        throw WrongUsage{"cast takes one of the address of a hub, --name and --first"};
    }
  }

  void addDoctor() {
    auto* doctor = app_.add_subcommand("doctor", "Tell what of this machine can be used");
    doctor->add_flag("--json", doctorJson_, "One JSON object a line");
    doctor->callback([this] { command_ = [this] { return runDoctor(doctorJson_); }; });
  }

  int runCastCommand() {
    LogFile log;
    if (!log_.empty() && !log.open(log_)) {
      std::cerr << "The log file " << terminalText(log_, kMaxPathLength)
                << " cannot be written: choose another place." << std::endl;
      return 1;
    }
    if (cast_.host.empty()) {
      const auto address = waitForHub(loop_, name_.empty() ? std::nullopt : std::optional{name_});
      if (!address) return 0;  // interrupted
      cast_.host = *address;
    }
    return runCast(loop_, cast_);
  }

  EventLoop loop_;
  CLI::App app_{"Casts this computer's screen to a wireless presentation hub.", "tessel"};
  DiscoverOptions discover_;
  CastOptions cast_;
  std::string name_;
  bool first_ = false;
  std::string log_;
  bool doctorJson_ = false;
  std::function<int()> command_;
};

}  // namespace
}  // namespace tessel::apps

int main(int argc, char** argv) {
  tessel::apps::chooseSharedFolder();
  return tessel::apps::Program{}.run(argc, argv);
}
