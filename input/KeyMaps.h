#pragma once

#include <array>
#include <cstdint>

/// From the hub's key codes to macOS virtual key codes.
namespace tessel {

/// The entry of a key that there is not.
inline constexpr std::uint16_t kInvalidVirtualKey = 0xFFFF;

/// Normal keys: the index is the character, the entry the key that types it on a US layout.
extern const std::array<std::uint16_t, 128> keyCodeToVirtualKeyMap;

/// Special keys while num lock is off.
extern const std::array<std::uint16_t, 80> specialKeyCodeToVirtualKeyMap;

/// Special keys while num lock is on.
extern const std::array<std::uint16_t, 80> specialKeyCodeToVirtualKeyMap_NumLock;

}  // namespace tessel
