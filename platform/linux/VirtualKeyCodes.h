#pragma once

#include <cstdint>
#include <optional>

namespace tessel::platform {

/// The Linux input code (KEY_A, ...) of the key with this macOS virtual key code; none for a key
/// that no hub can send. Both name places on the keyboard, so that a key arrives as the same key
/// whatever layout the desktop uses.
std::optional<std::uint8_t> evdevCode(std::uint16_t virtualKey);

}  // namespace tessel::platform
