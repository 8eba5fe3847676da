#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tessel {

inline constexpr std::uint8_t KEY_DOWN_FLAG = 0;
inline constexpr std::uint8_t KEY_UP_FLAG = 1;
inline constexpr std::uint8_t SPECIAL_KEY_DOWN_FLAG = 2;
inline constexpr std::uint8_t SPECIAL_KEY_UP_FLAG = 3;

/// The record of the keyboard channel, from the hub. 8 bytes, little-endian.
///
///     at  size  field      value
///      0     4  cmd        8
///      4     1  eventType  0
///      5     1  keyFlag    one of the flags above
///      6     2  keyCode    signed; the hub's code, of an ASCII character or of a special key
struct KeyboardRecord {
  static constexpr std::size_t kSize = 8;
  static constexpr std::uint32_t kCmd = 8;
  static constexpr std::uint8_t kEventType = 0;

  std::uint32_t cmd = kCmd;
  std::uint8_t eventType = kEventType;
  std::uint8_t keyFlag = KEY_DOWN_FLAG;
  std::int16_t keyCode = 0;

  /// None unless there are exactly 8 bytes; the fields' values are not checked.
  static std::optional<KeyboardRecord> parse(std::span<const std::uint8_t> bytes);
  /// The record whose bytes, read as one little-endian number, are `number`.
  static KeyboardRecord fromNumber(std::uint64_t number);

  std::array<std::uint8_t, kSize> bytes() const;

  /// Whether cmd and eventType are those of a keyboard record.
  bool isValid() const { return cmd == kCmd && eventType == kEventType; }

  bool operator==(const KeyboardRecord&) const = default;
};

}  // namespace tessel
