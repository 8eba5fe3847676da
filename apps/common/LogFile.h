#pragma once

#include <fstream>
#include <ostream>
#include <string>
#include <string_view>

#include "apps/common/LogBudget.h"

namespace tessel::apps {

/// Sends the library's log to a file for as long as it lives. Lines come as they are written, each
/// flushed at once, so that a crash loses none. Only its owner can read the file: it holds what the
/// hub's user types, and it does not grow for ever.
class LogFile {
 public:
  explicit LogFile(LogBudget budget = LogBudget{}) : budget_{budget} {}
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// `-` is standard error, which is not bounded. False when the file cannot be written.
  bool open(const std::string& path);

  /// Writes one line of the library's, which may end with a line feed or not.
  static void writeLine(std::ostream& out, std::string_view line);

 private:
  std::ofstream file_;
  LogBudget budget_;
};

}  // namespace tessel::apps
