#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tessel::apps {

/// Bounds a log file: a peer that sends garbage causes a line for each piece of it, megabytes a
/// second. One thread at a time.
class LogBudget {
 public:
  /// Hours of constant mouse movement, days of ordinary use.
  static constexpr std::size_t kMaxBytes = 256 << 20;

  explicit LogBudget(std::size_t bytes = kMaxBytes) : bytesLeft_{bytes} {}

  /// What to write for `line`, without its line feed: the line itself; for the first line that does
  /// not fit, a sentence that the log ends; from then on nothing.
  std::optional<std::string_view> admit(std::string_view line);

 private:
  std::size_t bytesLeft_;
  bool ended_ = false;
};

}  // namespace tessel::apps
