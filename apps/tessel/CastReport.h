#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tessel/Error.h"
#include "tessel/TSLSessionStatistics.h"
#include "tessel/Types.h"

namespace tessel::apps {

/// What `tessel cast` tells its user: to a program as one JSON object a line on standard output, or
/// to a person as plain lines on standard error, with a line that changes in place on a terminal.
/// Main thread.
class CastReport {
 public:
  /// How wide the terminal on standard error is now; none where it is none.
  using Columns = std::optional<std::size_t> (*)();
  static std::optional<std::size_t> terminalColumns();

  /// `host` is what the user typed or a hub sent.
  CastReport(const std::string& host, bool json, bool stats, Columns columns = terminalColumns);

  void state(std::int64_t state);
  /// The session failed.
  void failed(const Error& error);
  /// Something else did: `sentence` says what, `advice` what the user may do, if anything.
  void failed(const Error& error, const std::string& sentence, const std::string& advice = {});
  /// The connect step under way, in plain words. Told as often as one likes.
  void connecting(const std::string& step);
  /// Casting begins; `first` is what has been done until now.
  void connected(Size size, const TSLSessionStatistics& first);
  /// Once a second while casting, `elapsed` since it began.
  void casting(Seconds elapsed, const TSLSessionStatistics& now);
  /// A sentence about something out of the ordinary.
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
