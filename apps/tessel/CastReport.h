#pragma once

#include <cstdint>
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
  CastReport(std::string host, bool json, bool stats);

  void state(std::int64_t state);
  void failed(const Error& error);
  /// The connect step under way, in plain words. Told as often as one likes.
  void connecting(const std::string& step);
  void connected(Size size);
  /// Once a second while casting.
  void casting(int seconds, const TSLSessionStatistics& now);
  /// A sentence about something out of the ordinary.
  void notice(const std::string& sentence);
  void ended(int seconds, const TSLSessionStatistics& last);

 private:
  void progress(const std::string& text);
  void line(const std::string& text);

  const std::string host_;
  const bool json_;
  const bool stats_;
  const bool terminal_;
  bool progressShown_ = false;
  std::string lastProgress_;
  TSLSessionStatistics previous_;
};

}  // namespace tessel::apps
