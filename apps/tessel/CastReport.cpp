#include "apps/tessel/CastReport.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

#include "apps/common/JsonLine.h"
#include "apps/common/TerminalText.h"
#include "apps/tessel/Explain.h"

namespace tessel::apps {
namespace {

constexpr std::size_t kMaxHostLength = 253;  // of a name

void emit(const JsonLine& line) { std::cout << line.text() << std::endl; }

double rounded(double value) { return std::round(value * 10) / 10; }

double encodeMilliseconds(const TSLSessionStatistics& from, const TSLSessionStatistics& to) {
  const auto frames = std::max<std::int64_t>(to.framesEncoded - from.framesEncoded, 1);
  return rounded(1000 * (to.encodeSeconds - from.encodeSeconds) / static_cast<double>(frames));
}

// The text, cut to one line: a line that wraps could not be overwritten.
std::string fitted(const std::string& text, std::size_t columns) {
  constexpr std::size_t kRoomForCut = 4;  // "..." and the cursor
  if (columnCount(text) < columns) return text;
  return terminalText(text, std::max(columns, kRoomForCut) - kRoomForCut);
}

}  // namespace

std::optional<std::size_t> CastReport::terminalColumns() {
  constexpr std::size_t kDefault = 80;
  if (isatty(STDERR_FILENO) != 1) return std::nullopt;
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kDefault;
}

CastReport::CastReport(const std::string& host, bool json, bool stats, Columns columns)
    : host_{terminalText(host, kMaxHostLength)}, json_{json}, stats_{stats}, columns_{columns} {}

void CastReport::state(std::int64_t state) {
  if (json_) emit(JsonLine{"state"}.add("state", state));
}

void CastReport::failed(const Error& error) { failed(error, explain(error, host_)); }

void CastReport::failed(const Error& error, const std::string& sentence,
                        const std::string& advice) {
  if (json_) {
    JsonLine event{"failed"};
    event.add("domain", error.domain)
        .add("code", std::int64_t{error.code})
        .add("description", error.localizedDescription);
    if (!advice.empty()) event.add("advice", advice);
    emit(event);
  }
  line(sentence);
  if (!advice.empty()) line(advice);
}

void CastReport::connecting(const std::string& step) {
  if (!json_) progress("Connecting to " + host_ + ": " + step + " ...");
}

void CastReport::connected(Size size, const TSLSessionStatistics& first) {
  previous_ = first;
  if (json_) return;
  std::ostringstream text;
  text << "Casting " << size.width << "x" << size.height << " to " << host_
       << ". Press Ctrl-C to stop.";
  line(text.str());
}

void CastReport::casting(Seconds elapsed, const TSLSessionStatistics& now) {
  const TSLSessionStatistics before = std::exchange(previous_, now);
  const double passed = (elapsed - std::exchange(previousElapsed_, elapsed)).count();
  const double rate = static_cast<double>(now.framesEncoded - before.framesEncoded) / passed;
  const int seconds = static_cast<int>(elapsed.count());
  if (json_) {
    if (!stats_) return;
    emit(JsonLine{"stats"}
             .add("seconds", seconds)
             .add("framesCaptured", now.framesCaptured)
             .add("framesEncoded", now.framesEncoded)
             .add("framesDropped", now.framesDropped)
             .add("bytesSent", now.bytesSent)
             .add("credits", now.credits)
             .add("encodeMs", encodeMilliseconds(before, now))
             .add("fps", rounded(rate)));
    return;
  }
  if (!columns_() && !stats_) return;
  const double megabits = static_cast<double>(now.bytesSent - before.bytesSent) * 8 / 1e6 / passed;
  std::ostringstream text;
  text << std::fixed << std::setprecision(1);
  // An earlier line names the hub; beside all the numbers there is no room for it.
  if (!stats_) text << "Casting to " << host_ << "  ";
  text << seconds / 60 << ":" << std::setw(2) << std::setfill('0') << seconds % 60 << "  " << rate
       << " frames/s  " << megabits << " Mbit/s";
  if (stats_) {
    text << "  encoding " << encodeMilliseconds(before, now) << " ms  dropped " << now.framesDropped
         << "  credits " << now.credits;
  }
  progress(text.str());
}

void CastReport::notice(const std::string& sentence) {
  if (json_) emit(JsonLine{"notice"}.add("description", sentence));
  line(sentence);
}

void CastReport::ended(int seconds, const TSLSessionStatistics& last) {
  if (json_) return;
  std::ostringstream text;
  text << "Casting ended after " << seconds << " s, " << last.framesEncoded << " frames.";
  line(text.str());
}

// On a terminal in place; elsewhere each new text once.
void CastReport::progress(const std::string& text) {
  if (const auto columns = columns_()) {
    std::cerr << "\r\033[K" << fitted(text, *columns) << std::flush;
    progressShown_ = true;
  } else if (text != lastProgress_) {
    std::cerr << text << std::endl;
  }
  lastProgress_ = text;
}

void CastReport::line(const std::string& text) {
  if (std::exchange(progressShown_, false)) std::cerr << "\r\033[K";
  std::cerr << text << std::endl;
}

}  // namespace tessel::apps
