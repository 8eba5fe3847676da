#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <system_error>

#include "apps/common/EventLoop.h"
#include "apps/common/LogFile.h"
#include "apps/tessel/Cast.h"
#include "apps/tessel/Discover.h"
#include "apps/tessel/Doctor.h"

namespace tessel::apps {
namespace {

constexpr const char* kVersion = "tessel " TESSEL_VERSION;

// An ordinary user cannot write the machine-wide folder: use the own configuration folder.
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

// "auto", "x11", "pattern" or "pattern:WxH".
std::string parseScreen(const std::string& text, CastOptions& options) {
  static const std::map<std::string, ScreenSource> kSources{{"auto", ScreenSource::automatic},
                                                            {"x11", ScreenSource::x11},
                                                            {"pattern", ScreenSource::pattern}};
  const auto colon = text.find(':');
  const auto found = kSources.find(text.substr(0, colon));
  if (found == kSources.end()) return "--screen takes auto, x11, pattern or pattern:WIDTHxHEIGHT";
  options.screen = found->second;
  if (colon == std::string::npos) return {};
  int width = 0;
  int height = 0;
  int read = 0;
  const std::string size = text.substr(colon + 1);
  const bool whole = std::sscanf(size.c_str(), "%5dx%5d%n", &width, &height, &read) == 2 &&
                     read == static_cast<int>(size.size());
  if (options.screen != ScreenSource::pattern || !whole || width < 64 || height < 64 ||
      width > 7680 || height > 4320) {
    return "--screen pattern:WIDTHxHEIGHT takes a size between 64x64 and 7680x4320";
  }
  options.patternSize = {static_cast<double>(width), static_cast<double>(height)};
  return {};
}

// What a clock can count. No number (nan) is neither above nor below.
std::string checkSeconds(const std::string& text) {
  constexpr double kLongest = 365.0 * 24 * 60 * 60;
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, seconds);
  const bool number = read.ec == std::errc{} && read.ptr == end;
  if (number && seconds > 0 && seconds <= kLongest) return {};
  return "takes a number of seconds above 0 and at most 31536000 (a year)";
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
    try {
      app_.parse(argc, argv);
    } catch (const CLI::Success& success) {
      return app_.exit(success);
    } catch (const CLI::ParseError& error) {
      return usageError(error.what());
    }
    return command_();
  }

 private:
  void addDiscover() {
    auto* discover = app_.add_subcommand("discover", "List the hubs in range (Bluetooth LE)");
    discover->add_option("--timeout", discover_.timeout, "Stop after so many seconds")
        ->type_name("SECONDS")
        ->check(checkSeconds);
    discover->add_flag("--json", discover_.json, "One JSON object a line for each change");
    discover->callback([this] { command_ = [this] { return runDiscover(loop_, discover_); }; });
  }

  void addCast() {
    auto* cast = app_.add_subcommand("cast", "Cast this machine's screen to a hub");
    auto* host =
        cast->add_option("HOST", cast_.host, "Address or host name of the hub")->type_name("");
    auto* name = cast->add_option("--name", name_, "Cast to the hub that shows this name")
                     ->type_name("NAME");
    auto* first = cast->add_flag("--first", first_, "Cast to the first hub in range");
    host->excludes(name)->excludes(first);
    name->excludes(first);
    cast->add_option("--duration", cast_.duration, "Stop after so many seconds")
        ->type_name("SECONDS")
        ->check(checkSeconds);
    cast->add_option("--display-mode", cast_.displayMode,
                     "The session's display mode: a number that a host may give its sessions, for "
                     "itself. It changes nothing of the cast; 0 if not given")
        ->type_name("N");
    cast->add_option("--screen", screen_,
                     "What to cast: auto (the desktop), x11, or pattern[:WIDTHxHEIGHT], a test "
                     "picture that needs no display")
        ->type_name("SOURCE")
        ->default_str("auto");
    cast->add_flag("--stats", cast_.stats, "Tell once a second how the casting goes");
    cast->add_flag("--json", cast_.json, "One JSON object a line on standard output");
    cast->add_option(
            "--log", log_,
            "Write the library's log to FILE (- is standard error). It tells what is typed "
            "at the hub, so only you can read the file")
        ->type_name("FILE");
    cast->callback([this] { command_ = [this] { return runCastCommand(); }; });
  }

  void addDoctor() {
    auto* doctor = app_.add_subcommand("doctor", "Tell what of this machine can be used");
    doctor->add_flag("--json", doctorJson_, "One JSON object a line");
    doctor->callback([this] { command_ = [this] { return runDoctor(doctorJson_); }; });
  }

  int runCastCommand() {
    if (const std::string fault = parseScreen(screen_, cast_); !fault.empty()) {
      return usageError(fault);
    }
    if (cast_.host.empty() && name_.empty() && !first_) {
      return usageError("cast needs the address of a hub, --name or --first");
    }
    LogFile log;
    if (!log_.empty() && !log.open(log_)) {
      std::cerr << "The log file " << log_ << " cannot be written: choose another place."
                << std::endl;
      return 1;
    }
    if (cast_.host.empty()) {
      const auto address = waitForHub(loop_, name_.empty() ? std::nullopt : std::optional{name_});
      if (!address) return 0;  // interrupted
      cast_.host = *address;
    }
    return runCast(loop_, cast_);
  }

  static int usageError(const std::string& sentence) {
    std::cerr << sentence << ". See tessel --help." << std::endl;
    return 2;
  }

  EventLoop loop_;
  CLI::App app_{"Casts this computer's screen to a wireless presentation hub.", "tessel"};
  DiscoverOptions discover_;
  CastOptions cast_;
  std::string name_;
  bool first_ = false;
  std::string screen_ = "auto";
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
