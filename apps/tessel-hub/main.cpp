#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>

#include "apps/common/PipeSignal.h"
#include "apps/common/TerminalText.h"
#include "apps/tessel-hub/Hub.h"
#include "apps/tessel-hub/HubOptions.h"
#include "apps/tessel-hub/announce/Addresses.h"
#include "apps/tessel-hub/announce/Advertiser.h"
#include "apps/tessel-hub/report/HubLog.h"
#include "apps/tessel-hub/report/HubReporter.h"
#include "apps/tessel-hub/script/Script.h"
#include "apps/tessel-hub/window/HeadlessScreen.h"
#include "apps/tessel-hub/window/HubWindow.h"

namespace {

using namespace tessel::hub;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Throws std::runtime_error with a plain sentence.
std::optional<Script> loadScript(const std::string& path) {
  if (path.empty()) return std::nullopt;
  std::ifstream file{path};
  if (!file) throw std::runtime_error{"The script " + path + " cannot be read."};
  try {
    Script script = Script::parse(file);
    if (!file.bad()) return script;
  } catch (const std::runtime_error& error) {
    throw std::runtime_error{"The script " + path + ", " + error.what() + "."};
  }
  throw std::runtime_error{"The script " + path + " cannot be read."};  // a folder, for one
}

// Null if the options want none, or if none can be opened.
std::unique_ptr<HubWindow> openWindow(const HubOptions& options, HubReporter& reporter) {
  if (options.headless) return nullptr;
  try {
    return std::make_unique<HubWindow>(HubWindow::Settings{
        .title = options.name,
        .fullscreen = options.fullscreen,
        .sendsInput = options.script.empty(),
    });
  } catch (const std::runtime_error& error) {
    reporter.notice(std::string{"No window can be opened here ("} + error.what() +
                    "), so the hub runs without one, as with --headless.");
    return nullptr;
  }
}

int run(const HubOptions& options, std::optional<Script> script) {
  HubLog log;
  if (!options.log.empty() && !log.open(options.log)) {
    throw std::runtime_error{"The log " + options.log + " cannot be written."};
  }
  const std::unique_ptr<HubReporter> reporter =
      options.json ? HubReporter::json() : HubReporter::forPerson();
  HeadlessScreen headless;
  const std::unique_ptr<HubWindow> window = openWindow(options, *reporter);
  HubScreen& screen = window ? static_cast<HubScreen&>(*window) : headless;
  Hub hub{options, screen, *reporter, log};
  if (window) {
    window->connect(
        [&hub](std::function<void(InputSender&)> use) { hub.withInput(std::move(use)); },
        [&hub] { hub.quit(); });
  }
  hub.start(std::move(script));
  std::optional<Advertiser> advertiser;
  if (options.advertise) {
    advertiser.emplace(addressesForSenders(options.bind),
                       [&reporter](const std::string& sentence) { reporter->notice(sentence); });
  }
  screen.run();
  hub.writeSnapshot();
  return 0;
}

// The sentence may hold words of the user's, such as a path.
int complain(const std::exception& error, int exitCode) {
  constexpr std::size_t kMaxColumns = 5000;  // a path and what is said about it
  const std::string sentence = tessel::apps::terminalText(error.what(), kMaxColumns);
  std::fprintf(stderr, "tessel-hub: %s\n", sentence.c_str());
  return exitCode;
}

int runWithArguments(int argc, char** argv) {
  const std::variant<HubOptions, HubOptions::Answer> parsed = HubOptions::parse(argc, argv);
  if (const auto* answer = std::get_if<HubOptions::Answer>(&parsed)) {
    std::fputs(answer->text.c_str(), answer->exitCode == 0 ? stdout : stderr);
    return answer->exitCode;
  }
  const HubOptions& options = std::get<HubOptions>(parsed);
  std::optional<Script> script;
  try {
    script = loadScript(options.script);
  } catch (const std::exception& error) {
    return complain(error, kWrongUsage);
  }
  return run(options, std::move(script));
}

}  // namespace

int main(int argc, char** argv) {
  tessel::apps::blockPipeSignal();
  try {
    return runWithArguments(argc, argv);
  } catch (const std::exception& error) {
    return complain(error, kFailed);
  }
}
