#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tessel::hub {

/// The outcome of a frame.
struct FrameReport {
  std::uint64_t number = 0;  ///< 1 for a session's first
  std::size_t bytes = 0;
  bool shown = false;
  /// The frame number in a test picture; none where it was not looked for or not found.
  std::optional<std::uint32_t> counter = std::nullopt;
  std::chrono::steady_clock::time_point time{};
  /// Why the frame gave no picture; empty if it gave one, or if that is no fault.
  std::string problem = {};
};

}  // namespace tessel::hub
