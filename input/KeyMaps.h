#pragma once

#include <array>
#include <cstdint>
#include <span>

/// From the hub's key codes to macOS virtual key codes.
namespace tessel {

/// Marks an unmapped key.
inline constexpr std::uint16_t kInvalidVirtualKey = 0xFFFF;

/// Normal keys: the index is the character, the entry the key that types it on a US layout.
extern const std::array<std::uint16_t, 128> keyCodeToVirtualKeyMap;

/// Special keys while num lock is off.
extern const std::array<std::uint16_t, 80> specialKeyCodeToVirtualKeyMap;

/// Special keys while num lock is on.
extern const std::array<std::uint16_t, 80> specialKeyCodeToVirtualKeyMap_NumLock;

/// @name The greatest code that the lookup in each map accepts
/// @{
inline constexpr std::int16_t kMaxKeyCode = 127;
inline constexpr std::int16_t kMaxSpecialKeyCode = 79;
/// One more than the map has rows; that code is unmapped.
inline constexpr std::int16_t kMaxSpecialKeyCodeWithNumLock = 80;
/// @}

/// The entry for a hub code; kInvalidVirtualKey for a code below 0, above `maxCode` or past the
/// map's last row.
std::uint16_t lookUpVirtualKey(std::span<const std::uint16_t> map, std::int16_t maxCode,
                               std::int16_t code);

}  // namespace tessel
