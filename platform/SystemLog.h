#pragma once

#include <string_view>

namespace tessel::platform {

/// The system's own log, used while the host has set no sink. Any thread.
class SystemLog {
 public:
  virtual ~SystemLog() = default;
  /// Whether lines have a receiver. Cheap.
  virtual bool available() = 0;
  /// One line, without its line feed.
  virtual void write(std::string_view line) = 0;
};

}  // namespace tessel::platform
