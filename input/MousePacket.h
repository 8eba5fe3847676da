#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tessel {

/// What a mouse packet asks for. Single values, not bits to be combined.
enum class MouseCommand : std::uint8_t {
  kMove = 0x01,
  kLeftDown = 0x02,
  kLeftUp = 0x04,
  kRightDown = 0x08,
  kRightUp = 0x10,
  kWheelDown = 0x20,
  kWheelUp = 0x40,
};

/// The record of the mouse channel, in both directions, once the handshake is done.
struct MousePacket {
  static constexpr std::size_t kLength = 8;
  static constexpr std::uint8_t kPacketType = 0x0D;

  std::uint8_t size = kLength;
  std::uint8_t packetType = kPacketType;
  std::uint16_t x = 0;       ///< session coordinates
  std::uint16_t y = 0;       ///< session coordinates, top-left origin
  std::uint8_t command = 0;  ///< a MouseCommand, or a number nobody knows
  std::uint8_t wheel = 0;    ///< lines, with the wheel commands only

  /// The fields as they stand in the bytes; nothing is checked.
  static MousePacket fromBytes(std::span<const std::uint8_t, kLength> bytes);
  std::array<std::uint8_t, kLength> bytes() const;

  /// Whether this is a mouse packet at all.
  bool isValid() const { return size == kLength && packetType == kPacketType; }

  bool operator==(const MousePacket&) const = default;
};

}  // namespace tessel
