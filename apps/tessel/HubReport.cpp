#include "apps/tessel/HubReport.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

#include "apps/common/JsonLine.h"
#include "apps/common/TerminalText.h"

namespace tessel::apps {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostInTable = 32;
constexpr std::size_t kMostInLine = 64;
constexpr std::size_t kMostInJson = 256;
constexpr std::size_t kAddressWidth = 17;

std::string padded(std::string text, std::size_t width) {
  const std::size_t length = characterCount(text);
  if (length < width) text.append(width - length, ' ');
  return text;
}

std::string nameOf(const Hub& hub, std::size_t most) {
  return hub.name ? terminalText(*hub.name, most) : "(no name yet)";
}

std::string strength(const std::optional<int>& rssi) {
  return rssi ? std::to_string(*rssi) + " dBm" : "? dBm";
}

// Four bars as a telephone shows them.
std::string bars(const std::optional<int>& rssi) {
  static constexpr int kThresholds[] = {-90, -78, -67, -55};
  std::string text;
  for (const int threshold : kThresholds) text += rssi && *rssi >= threshold ? '|' : '.';
  return text;
}

class JsonHubReport final : public HubReport {
 public:
  JsonHubReport(std::ostream& out, SteadyClock now) : out_{out}, now_{std::move(now)} {}

  void present(const Hub& hub) override {
    const auto name = cut(hub.name);
    const auto now = now_();
    const auto told = told_.find(hub.address);
    if (told != told_.end() && told->second.name == name) {
      const bool soon = now - told->second.at < 1s;
      if (told->second.rssi == hub.rssi || soon) return;
    }
    told_[hub.address] = {name, hub.rssi, now};
    JsonLine line{"hub"};
    out_ << line.add("address", hub.address).add("name", name).add("rssi", hub.rssi).text()
         << std::endl;
  }

  void gone(const Hub& hub) override {
    told_.erase(hub.address);
    JsonLine line{"gone"};
    out_ << line.add("address", hub.address).add("name", cut(hub.name)).text() << std::endl;
  }

  // What came too soon to be told.
  void list(const std::vector<Hub>& hubs, Date) override {
    for (const Hub& hub : hubs) present(hub);
  }

  void bluetooth(const std::string& sentence, bool) override {
    JsonLine line{"bluetooth"};
    out_ << line.add("description", sentence).text() << std::endl;
  }

 private:
  struct Told {
    std::optional<std::string> name;
    std::optional<int> rssi;
    std::chrono::steady_clock::time_point at;
  };

  static std::optional<std::string> cut(const std::optional<std::string>& name) {
    return name ? std::optional{cutText(*name, kMostInJson)} : std::nullopt;
  }

  std::ostream& out_;
  const SteadyClock now_;
  std::map<std::string, Told> told_;  // what was told last, by address
};

class PlainHubReport final : public HubReport {
 public:
  explicit PlainHubReport(std::ostream& out) : out_{out} {}

  void present(const Hub& hub) override {
    const auto told = told_.find(hub.address);
    if (told != told_.end() && told->second == hub.name) return;
    out_ << padded(told == told_.end() ? "found" : "name", 7) << padded(hub.address, kAddressWidth)
         << padded(strength(hub.rssi), 10) << nameOf(hub, kMostInLine) << std::endl;
    told_[hub.address] = hub.name;
  }

  void gone(const Hub& hub) override {
    told_.erase(hub.address);
    out_ << padded("gone", 7) << padded(hub.address, kAddressWidth + 10) << nameOf(hub, kMostInLine)
         << std::endl;
  }

  void list(const std::vector<Hub>&, Date) override {}

  void bluetooth(const std::string& sentence, bool usable) override {
    if (!usable) out_ << sentence << std::endl;
  }

 private:
  std::ostream& out_;
  std::map<std::string, std::optional<std::string>> told_;
};

class TerminalHubReport final : public HubReport {
 public:
  TerminalHubReport(std::ostream& out, std::size_t rows) : out_{out}, rows_{rows} {}

  void present(const Hub&) override {}
  void gone(const Hub&) override {}

  void list(const std::vector<Hub>& hubs, Date now) override {
    // The cursor goes back over what was drawn; a line too long for the terminal does not wrap.
    std::string picture = drawn_ > 0 ? "\r\x1b[" + std::to_string(drawn_) + "A" : "\r";
    picture += "\x1b[?7l";
    std::size_t lines = 0;
    const auto add = [&](const std::string& line) {
      picture += line + "\x1b[K\n";
      ++lines;
    };
    if (!usable_) add(sentence_);
    if (hubs.empty()) {
      add(usable_ ? "Listening for hubs ... (Ctrl-C to stop)" : "No hubs.");
    } else {
      add(padded("NAME", kMostInTable + 4) + padded("ADDRESS", kAddressWidth) +
          padded("SIGNAL", 15) + "HEARD");
    }
    const std::size_t room = rows_ > lines + 2 ? rows_ - lines - 2 : 1;
    for (std::size_t i = 0; i < std::min(hubs.size(), room); ++i) add(row(hubs[i], now));
    if (hubs.size() > room) add("... and " + std::to_string(hubs.size() - room) + " more");
    picture += "\x1b[?7h\x1b[J";
    out_ << picture << std::flush;
    drawn_ = lines;
  }

  void bluetooth(const std::string& sentence, bool usable) override {
    sentence_ = sentence;
    usable_ = usable;
  }

 private:
  static std::string row(const Hub& hub, Date now) {
    const auto silent = std::chrono::duration_cast<std::chrono::seconds>(now - hub.lastHeard);
    return padded(nameOf(hub, kMostInTable), kMostInTable + 4) +
           padded(hub.address, kAddressWidth) +
           padded(bars(hub.rssi) + " " + strength(hub.rssi), 15) +
           std::to_string(std::max<std::int64_t>(silent.count(), 0)) + " s ago";
  }

  std::ostream& out_;
  const std::size_t rows_;
  std::string sentence_;
  bool usable_ = true;
  std::size_t drawn_ = 0;  // lines on the screen above the cursor
};

}  // namespace

std::unique_ptr<HubReport> makeJsonHubReport(std::ostream& out, SteadyClock now) {
  return std::make_unique<JsonHubReport>(out, std::move(now));
}

std::unique_ptr<HubReport> makePlainHubReport(std::ostream& out) {
  return std::make_unique<PlainHubReport>(out);
}

std::unique_ptr<HubReport> makeTerminalHubReport(std::ostream& out, std::size_t rows) {
  return std::make_unique<TerminalHubReport>(out, rows);
}

}  // namespace tessel::apps
