#pragma once

#include <optional>
#include <span>
#include <string>

namespace tessel {

/// The text that `bytes` encode; none when they are not valid UTF-8.
std::optional<std::string> textFromUTF8(std::span<const std::uint8_t> bytes);

}  // namespace tessel
