#include <cstdio>
#include <iomanip>
#include <sstream>
#include <string>

#include "apps/tessel-hub/report/HubReporter.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {
namespace {

// With one decimal.
std::string rounded(double value) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << value;
  return text.str();
}

class PlainReporter final : public HubReporter {
 public:
  void listening(const Listening& listening) override {
    std::string text = "This is the hub \"" + listening.name + "\", version " + listening.version;
    if (listening.tlsPort != 0) text += ", with TLS";
    text += ".\nReady: cast to it with  tessel cast ";
    if (listening.senderAddresses.empty()) {
      return say(text + "127.0.0.1  on this machine, which is in no network.");
    }
    text += listening.senderAddresses.front();
    for (std::size_t i = 1; i < listening.senderAddresses.size(); ++i) {
      text += "\n                   or  tessel cast " + listening.senderAddresses[i];
    }
    say(text);
  }

  void launched(const std::string& sender, const std::string&) override {
    say(sender + " is about to cast.");
  }

  void connected(const std::string& sender, int width, int height) override {
    say(sender + " casts a screen of " + std::to_string(width) + " by " + std::to_string(height) +
        ".");
  }

  void inputReady() override { say("Mouse and keyboard are connected."); }
  void frame(const FrameReport&) override {}
  void stats(const Stats&) override {}
  void cursor(int, int) override {}
  void snapshot(const std::string& path) override { say("Snapshot written to " + path); }

  void script(bool finished) override {
    say(finished ? "The script is finished." : "The script begins.");
  }

  void ended(const Stats& stats, const std::string& problem) override {
    say("The cast has ended" + (problem.empty() ? std::string{} : ": " + problem) + ". " +
        std::to_string(stats.framesShown) + " pictures in " + rounded(stats.seconds) +
        " seconds, " + rounded(stats.fps) + " a second.");
  }

  void notice(const std::string& sentence) override { say(sentence); }

 private:
  void say(const std::string& text) {
    const platform::MutexLock lock{mutex_};
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
  }

  platform::Mutex mutex_;  // one line at a time
};

}  // namespace

std::unique_ptr<HubReporter> HubReporter::forPerson() { return std::make_unique<PlainReporter>(); }

}  // namespace tessel::hub
