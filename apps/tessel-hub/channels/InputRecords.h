#pragma once

#include <array>
#include <cstdint>

#include "platform/base/ByteOrder.h"

/// The records that the hub sends on the input channels.
namespace tessel::hub {

/// MousePacket: 8 bytes, little-endian.
///   at  size  field
///    0     1  size: 8
///    1     1  type: 0x0D
///    2     2  x, in the session's coordinates
///    4     2  y, downwards
///    6     1  command
///    7     1  wheel: lines, with a wheel command
using MouseRecord = std::array<std::uint8_t, 8>;

enum class MouseCommand : std::uint8_t {
  move = 0x01,
  leftDown = 0x02,
  leftUp = 0x04,
  rightDown = 0x08,
  rightUp = 0x10,
  wheelDown = 0x20,
  wheelUp = 0x40,
};

constexpr std::uint8_t kMouseRecordType = 0x0D;

constexpr MouseRecord mouseRecord(MouseCommand command, std::uint16_t x, std::uint16_t y,
                                  std::uint8_t wheel = 0) {
  MouseRecord record{};
  record[0] = sizeof(MouseRecord);
  record[1] = kMouseRecordType;
  platform::putLittleEndian<2>(std::span{record}, x);
  platform::putLittleEndian<4>(std::span{record}, y);
  record[6] = static_cast<std::uint8_t>(command);
  record[7] = wheel;
  return record;
}

/// Key record: 8 bytes, little-endian.
///   at  size  field
///    0     4  cmd: 8
///    4     1  eventType: 0
///    5     1  0 key down, 1 key up, 2 special key down, 3 special key up
///    6     2  the hub's code, signed
using KeyRecord = std::array<std::uint8_t, 8>;

/// A key in the hub's codes: a character of ASCII, or a special key.
struct HubKey {
  bool special = false;
  std::int16_t code = 0;

  bool operator==(const HubKey&) const = default;
  bool operator<(const HubKey& other) const {
    return special != other.special ? other.special : code < other.code;
  }
};

constexpr KeyRecord keyRecord(HubKey key, bool down) {
  KeyRecord record{};
  record[0] = sizeof(KeyRecord);
  record[5] = static_cast<std::uint8_t>((key.special ? 2 : 0) + (down ? 0 : 1));
  platform::putLittleEndian<6>(std::span{record}, static_cast<std::uint16_t>(key.code));
  return record;
}

}  // namespace tessel::hub
