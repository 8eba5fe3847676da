#pragma once

#include <cstddef>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>

namespace tessel::apps {

/// Sends the library's log to a file for as long as it lives. Lines come as they are written, each
/// flushed at once, so that a crash loses none. Only its owner can read the file: it holds what the
/// hub's user types. It does not grow for ever: a hub that sends nonsense causes a line for each
/// piece of it.
class LogFile {
 public:
  LogFile() = default;
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Days of a cast that goes well; most of it is what the hub's mouse does.
  static constexpr std::size_t kMostBytes = 256 << 20;

  /// `-` is standard error, which has no end. False when the file cannot be written.
  bool open(const std::string& path, std::size_t mostBytes = kMostBytes);

  /// Writes one line of the library's, which may end with a line feed or not.
  static void writeLine(std::ostream& out, std::string_view line);

 private:
  void append(std::string_view line);

  std::ofstream file_;
  std::size_t bytesLeft_ = 0;
};

}  // namespace tessel::apps
