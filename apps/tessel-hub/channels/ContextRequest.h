#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tessel::hub {

/// What a sender asks for before it sends pictures: an H.264 decoding context of a size.
struct ContextRequest {
  static constexpr std::size_t kSize = 228;
  static constexpr std::uint32_t kLargestSide = 8192;

  std::uint32_t width = 0;
  std::uint32_t height = 0;

  /// Nothing, and the reason in `problem`, if `message` is not a request that this hub serves.
  static std::optional<ContextRequest> parse(std::span<const std::uint8_t> message,
                                             std::string& problem);
};

}  // namespace tessel::hub
