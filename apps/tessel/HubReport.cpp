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

constexpr const char* kNoName = "(no name yet)";
constexpr std::size_t kMaxNameInTable = 32;
constexpr std::size_t kMinNameInTable = 4;  // with less room no name is shown
constexpr std::size_t kMaxNameInLine = 64;
constexpr std::size_t kMaxNameInJson = 256;
// Columns of the table.
constexpr std::size_t kAfterName = 4;  // "..." and a space
constexpr std::size_t kAddressWidth = 17;
constexpr std::size_t kSignalWidth = 15;
constexpr std::size_t kHeardWidth = 8;

std::string padded(std::string text, std::size_t width) {
  const std::size_t columns = columnCount(text);
  if (columns < width) text.append(width - columns, ' ');
  return text;
}

std::string nameOf(const Hub& hub, std::size_t most) {
  return hub.name ? terminalText(*hub.name, most) : kNoName;
}

std::string strength(const std::optional<int>& rssi) {
  return rssi ? std::to_string(*rssi) + " dBm" : "? dBm";
}

// Four bars, as on a telephone.
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
    const auto last = reported_.find(hub.address);
    if (last != reported_.end() && last->second.name == name) {
      const bool soon = now - last->second.at < 1s;
      if (last->second.rssi == hub.rssi || soon) return;
    }
    reported_[hub.address] = {name, hub.rssi, now};
    JsonLine line{"hub"};
    out_ << line.add("address", hub.address).add("name", name).add("rssi", hub.rssi).text()
         << std::endl;
  }

  void gone(const Hub& hub) override {
    reported_.erase(hub.address);
    JsonLine line{"gone"};
    out_ << line.add("address", hub.address).add("name", cut(hub.name)).text() << std::endl;
  }

  // Reports what came within the second.
  void list(const std::vector<Hub>& hubs, Date) override {
    for (const Hub& hub : hubs) present(hub);
  }

  void bluetooth(const std::string& sentence, bool) override {
    JsonLine line{"bluetooth"};
    out_ << line.add("description", sentence).text() << std::endl;
  }

 private:
  struct Reported {
    std::optional<std::string> name;
    std::optional<int> rssi;
    std::chrono::steady_clock::time_point at;
  };

  static std::optional<std::string> cut(const std::optional<std::string>& name) {
    return name ? std::optional{cutText(*name, kMaxNameInJson)} : std::nullopt;
  }

  std::ostream& out_;
  const SteadyClock now_;
  std::map<std::string, Reported> reported_;  // the last report of each hub, by address
};

class PlainHubReport final : public HubReport {
 public:
  explicit PlainHubReport(std::ostream& out) : out_{out} {}

  void present(const Hub& hub) override {
    const auto last = reported_.find(hub.address);
    if (last != reported_.end() && last->second == hub.name) return;
    out_ << padded(last == reported_.end() ? "found" : "name", 7)
         << padded(hub.address, kAddressWidth) << padded(strength(hub.rssi), 10)
         << nameOf(hub, kMaxNameInLine) << std::endl;
    reported_[hub.address] = hub.name;
  }

  void gone(const Hub& hub) override {
    reported_.erase(hub.address);
    out_ << padded("gone", 7) << padded(hub.address, kAddressWidth + 10)
         << nameOf(hub, kMaxNameInLine) << std::endl;
  }

  void list(const std::vector<Hub>&, Date) override {}

  void bluetooth(const std::string& sentence, bool usable) override {
    if (!usable) out_ << sentence << std::endl;
  }

 private:
  std::ostream& out_;
  std::map<std::string, std::optional<std::string>> reported_;
};

class TerminalHubReport final : public HubReport {
 public:
  TerminalHubReport(std::ostream& out, std::function<TerminalSize()> size)
      : out_{out}, size_{std::move(size)} {}

  void present(const Hub&) override {}
  void gone(const Hub&) override {}

  void list(const std::vector<Hub>& hubs, Date now) override {
    // Moves the cursor back over the last drawing, and turns wrapping off for its lines.
    std::string picture = drawn_ > 0 ? "\r\x1b[" + std::to_string(drawn_) + "A" : "\r";
    picture += "\x1b[?7l";
    const std::vector<std::string> lines = table(hubs, now);
    for (const std::string& line : lines) picture += line + "\x1b[K\n";
    picture += "\x1b[?7h\x1b[J";
    out_ << picture << std::flush;
    drawn_ = lines.size();
  }

  void bluetooth(const std::string& sentence, bool usable) override {
    sentence_ = sentence;
    usable_ = usable;
  }

 private:
  std::vector<std::string> table(const std::vector<Hub>& hubs, Date now) const {
    const TerminalSize size = size_();
    const std::size_t most = std::max<std::size_t>(size.rows, 2) - 1;  // the cursor has the last
    std::vector<std::string> lines;
    if (!usable_) lines = wrapped(sentence_, size.columns);
    if (hubs.empty()) {
      lines.emplace_back(usable_ ? "Listening for hubs ... (Ctrl-C to stop)" : "No hubs.");
    } else {
      const std::size_t nameWidth = nameWidthIn(size.columns);
      lines.push_back(row(nameWidth, "NAME", "ADDRESS", "SIGNAL", "HEARD"));
      const std::size_t room = most > lines.size() + 1 ? most - lines.size() - 1 : 1;
      for (std::size_t i = 0; i < std::min(hubs.size(), room); ++i) {
        lines.push_back(row(nameWidth, hubs[i], now));
      }
      if (hubs.size() > room) {
        lines.push_back("... and " + std::to_string(hubs.size() - room) + " more");
      }
    }
    lines.resize(std::min(lines.size(), most));
    return lines;
  }

  // What the other columns leave, since an address is enough to cast to.
  static std::size_t nameWidthIn(std::size_t columns) {
    constexpr std::size_t kOthers = kAddressWidth + kSignalWidth + kHeardWidth;
    if (columns < kOthers + kMinNameInTable + kAfterName) return 0;
    return std::min(columns - kOthers, kMaxNameInTable + kAfterName);
  }

  static std::string row(std::size_t nameWidth, const std::string& name, const std::string& address,
                         const std::string& signal, const std::string& heard) {
    return (nameWidth > 0 ? padded(terminalText(name, nameWidth - kAfterName), nameWidth) : "") +
           padded(address, kAddressWidth) + padded(signal, kSignalWidth) + heard;
  }

  static std::string row(std::size_t nameWidth, const Hub& hub, Date now) {
    const auto silent = std::chrono::duration_cast<std::chrono::seconds>(now - hub.lastHeard);
    return row(nameWidth, hub.name.value_or(kNoName), hub.address,
               bars(hub.rssi) + " " + strength(hub.rssi),
               std::to_string(std::max<std::int64_t>(silent.count(), 0)) + " s ago");
  }

  std::ostream& out_;
  const std::function<TerminalSize()> size_;
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

std::unique_ptr<HubReport> makeTerminalHubReport(std::ostream& out,
                                                 std::function<TerminalSize()> size) {
  return std::make_unique<TerminalHubReport>(out, std::move(size));
}

}  // namespace tessel::apps
