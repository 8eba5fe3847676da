#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tessel::hub {

/// What became of a frame.
struct FrameReport {
  std::uint64_t number = 0;  ///< 1 for a session's first
  std::size_t bytes = 0;
  bool shown = false;
  /// The number that the test picture carries, where it was looked for and found.
  std::optional<std::uint32_t> counter = std::nullopt;
  std::chrono::steady_clock::time_point time{};
  /// Why there was no picture; empty if that is no fault, or if there was one.
  std::string problem = {};
};

}  // namespace tessel::hub
