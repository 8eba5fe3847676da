#pragma once

#include <cstdint>
#include <optional>

namespace tessel::platform {

/// The Linux input code (KEY_A, ...) of the key with this macOS virtual key code; none for a key
/// that no hub can send. Both codes name physical positions, so the mapping does not depend on the
/// desktop's keyboard layout.
std::optional<std::uint8_t> evdevCode(std::uint16_t virtualKey);

}  // namespace tessel::platform
