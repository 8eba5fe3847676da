#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tessel/Error.h"
#include "tessel/TSLSessionStatistics.h"
#include "tessel/Types.h"

namespace tessel::apps {

/// Reports a cast: to a program as one JSON object a line on standard output, or to a person as
/// plain lines on standard error, with a line that changes in place on a terminal. Main thread.
class CastReport {
 public:
  /// The present width of the terminal on standard error; none if that is no terminal.
  using Columns = std::optional<std::size_t> (*)();
  static std::optional<std::size_t> terminalColumns();

  /// `host` may hold anything: the user typed it, or a hub sent it.
  CastReport(const std::string& host, bool json, bool stats, Columns columns = terminalColumns);

  void state(std::int64_t state);
  /// The session failed.
  void failed(const Error& error);
  /// Something else failed: `sentence` says what, `advice` what the user may do, if anything.
  void failed(const Error& error, const std::string& sentence, const std::string& advice = {});
  /// The connect step under way, in plain words. May be called again with the same step.
  void connecting(const std::string& step);
  /// Casting begins; later rates do not count what `first` does.
  void connected(Size size, const TSLSessionStatistics& first);
  /// Once a second while casting, `elapsed` since it began.
  void casting(Seconds elapsed, const TSLSessionStatistics& now);
  /// A sentence about something that the user should know.
  void notice(const std::string& sentence);
  void ended(int seconds, const TSLSessionStatistics& last);

 private:
  void progress(const std::string& text);
  void line(const std::string& text);

  const std::string host_;
  const bool json_;
  const bool stats_;
  const Columns columns_;
  bool progressShown_ = false;
  std::string lastProgress_;
  TSLSessionStatistics previous_;
  Seconds previousElapsed_{};
};

}  // namespace tessel::apps
