#pragma once

#include <fstream>
#include <ostream>
#include <string>
#include <string_view>

#include "apps/common/LogBudget.h"

namespace tessel::apps {

/// Sends the library's log to a file for as long as it lives. Each line is flushed at once, so that
/// a crash loses none. Only the file's owner can read it, since it holds what the hub's user types;
/// its size is bounded by a LogBudget.
class LogFile {
 public:
  explicit LogFile(LogBudget budget = LogBudget{}) : budget_{budget} {}
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// `-` is standard error, which is not bounded. False when the file cannot be written.
  bool open(const std::string& path);

  /// Writes one line of the library's log, whether or not it ends with a line feed.
  static void writeLine(std::ostream& out, std::string_view line);

 private:
  std::ofstream file_;
  LogBudget budget_;
};

}  // namespace tessel::apps
