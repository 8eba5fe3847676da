#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
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

/// The record of the mouse channel, in both directions, once the handshake is done. 8 bytes,
/// little-endian.
///
///     at  size  field       value
///      0     1  size        8
///      1     1  packetType  0x0D
///      2     2  x           unsigned, session coordinates
///      4     2  y           unsigned, session coordinates, top-left origin
///      6     1  command     a MouseCommand; a sender's cursor report is a kMove
///      7     1  wheel       lines with a wheel command, else 0
struct MousePacket {
  static constexpr std::size_t kSize = 8;
  static constexpr std::uint8_t kPacketType = 0x0D;

  std::uint8_t size = kSize;
  std::uint8_t packetType = kPacketType;
  std::uint16_t x = 0;
  std::uint16_t y = 0;
  std::uint8_t command = 0;  ///< any number, when received
  std::uint8_t wheel = 0;

  /// None unless there are exactly 8 bytes; the fields' values are not checked.
  static std::optional<MousePacket> parse(std::span<const std::uint8_t> bytes);

  std::array<std::uint8_t, kSize> bytes() const;

  /// Whether size and type are those of a mouse packet.
  bool isValid() const { return size == kSize && packetType == kPacketType; }

  bool operator==(const MousePacket&) const = default;
};

}  // namespace tessel
