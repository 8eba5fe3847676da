#pragma once

#include <fstream>
#include <string>

namespace tessel::apps {

/// Sends the library's log to a file for as long as it lives. Lines come as they are written, each
/// flushed at once, so that a crash loses none. Only its owner can read the file: it holds what the
/// hub's user types.
class LogFile {
 public:
  LogFile() = default;
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// `-` is standard error. False when the file cannot be written.
  bool open(const std::string& path);

 private:
  std::ofstream file_;
};

}  // namespace tessel::apps
