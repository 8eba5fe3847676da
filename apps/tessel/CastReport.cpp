#include "apps/tessel/CastReport.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <unistd.h>
#include <utility>

#include "apps/common/JsonLine.h"
#include "apps/tessel/Explain.h"

namespace tessel::apps {
namespace {

void emit(const JsonLine& line) { std::cout << line.text() << std::endl; }

double rounded(double value) { return std::round(value * 10) / 10; }

double encodeMilliseconds(const TSLSessionStatistics& from, const TSLSessionStatistics& to) {
  const auto frames = std::max<std::int64_t>(to.framesEncoded - from.framesEncoded, 1);
  return rounded(1000 * (to.encodeSeconds - from.encodeSeconds) / static_cast<double>(frames));
}

}  // namespace

CastReport::CastReport(std::string host, bool json, bool stats)
    : host_{std::move(host)}, json_{json}, stats_{stats}, terminal_{isatty(STDERR_FILENO) == 1} {}

void CastReport::state(std::int64_t state) {
  if (json_) emit(JsonLine{"state"}.add("state", state));
}

void CastReport::failed(const Error& error) {
  if (json_) {
    emit(JsonLine{"failed"}
             .add("domain", error.domain)
             .add("code", std::int64_t{error.code})
             .add("description", error.localizedDescription));
  }
  line(explain(error, host_));
}

void CastReport::connecting(const std::string& step) {
  if (!json_) progress("Connecting to " + host_ + ": " + step + " ...");
}

void CastReport::connected(Size size) {
  if (json_) return;
  std::ostringstream text;
  text << "Casting " << size.width << "x" << size.height << " to " << host_
       << ". Press Ctrl-C to stop.";
  line(text.str());
}

void CastReport::casting(int seconds, const TSLSessionStatistics& now) {
  const TSLSessionStatistics before = std::exchange(previous_, now);
  const auto frames = static_cast<double>(now.framesEncoded - before.framesEncoded);
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
             .add("fps", rounded(frames)));
    return;
  }
  if (!terminal_ && !stats_) return;
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << "Casting to " << host_ << "  " << seconds / 60
       << ":" << std::setw(2) << std::setfill('0') << seconds % 60 << "  " << frames
       << " frames/s  " << static_cast<double>(now.bytesSent - before.bytesSent) * 8 / 1e6
       << " Mbit/s";
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
  if (terminal_) {
    std::cerr << "\r\033[K" << text << std::flush;
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
