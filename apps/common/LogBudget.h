#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tessel::apps {

/// Keeps a log file from growing for ever: a peer that sends nonsense causes a line for each piece
/// of it, megabytes a second. One thread at a time.
class LogBudget {
 public:
  /// Hours of a mouse that never rests, days of one that mostly does.
  static constexpr std::size_t kMostBytes = 256 << 20;

  explicit LogBudget(std::size_t bytes = kMostBytes) : bytesLeft_{bytes} {}

  /// What to write where `line` and its end are to be written: the line; for the first one that
  /// there is no room for, a sentence that the log ends; nothing from then on.
  std::optional<std::string_view> admit(std::string_view line);

 private:
  std::size_t bytesLeft_;
  bool ended_ = false;
};

}  // namespace tessel::apps
