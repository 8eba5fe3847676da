#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/tessel-hub/report/HubReporter.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {
namespace {

// One object a line, written whole at once.
class JsonReporter final : public HubReporter {
 public:
  void listening(const Listening& listening) override {
    write({{"event", "listening"},
           {"address", listening.address},
           {"name", listening.name},
           {"version", listening.version},
           {"detailsPort", listening.detailsPort},
           {"displayPort", listening.displayPort},
           {"inputPort", listening.inputPort},
           {"tlsPort",
            listening.tlsPort == 0 ? nlohmann::json{} : nlohmann::json(listening.tlsPort)}});
  }

  void launched(const std::string& sender, const std::string& application) override {
    write({{"event", "session"},
           {"state", "launched"},
           {"sender", sender},
           {"application", application}});
  }

  void connected(const std::string& sender, int width, int height) override {
    write({{"event", "session"},
           {"state", "connected"},
           {"sender", sender},
           {"width", width},
           {"height", height}});
  }

  void inputReady() override { write({{"event", "session"}, {"state", "input"}}); }

  void frame(const FrameReport& report) override {
    nlohmann::json event{{"event", "frame"},      {"number", report.number},
                         {"counter", nullptr},    {"time", seconds(report.time)},
                         {"bytes", report.bytes}, {"shown", report.shown}};
    if (report.counter) event["counter"] = *report.counter;
    write(event);
  }

  void stats(const Stats& stats) override {
    nlohmann::json event = describe(stats);
    event["event"] = "stats";
    write(event);
  }

  void cursor(int x, int y) override { write({{"event", "cursor"}, {"x", x}, {"y", y}}); }

  void snapshot(const std::string& path) override {
    write({{"event", "snapshot"}, {"path", path}});
  }

  void script(bool finished) override {
    write({{"event", "script"}, {"state", finished ? "finished" : "started"}});
  }

  void ended(const Stats& stats, const std::string& problem) override {
    nlohmann::json event = describe(stats);
    event["event"] = "ended";
    event["problem"] = problem.empty() ? nlohmann::json{} : nlohmann::json(problem);
    write(event);
  }

  void notice(const std::string& sentence) override {
    write({{"event", "notice"}, {"text", sentence}});
  }

 private:
  static double seconds(std::chrono::steady_clock::time_point time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count();
  }

  static nlohmann::json describe(const Stats& stats) {
    return {{"seconds", stats.seconds},
            {"framesReceived", stats.framesReceived},
            {"framesShown", stats.framesShown},
            {"bytesReceived", stats.bytesReceived},
            {"fps", stats.fps}};
  }

  void write(const nlohmann::json& event) {
    // Names come from the command line and may hold anything.
    const std::string line =
        event.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    const platform::MutexLock lock{mutex_};
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
  }

  platform::Mutex mutex_;  // one line at a time
};

}  // namespace

std::unique_ptr<HubReporter> HubReporter::json() { return std::make_unique<JsonReporter>(); }

}  // namespace tessel::hub
