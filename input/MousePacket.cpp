#include "input/MousePacket.h"

#include "platform/base/ByteOrder.h"

namespace tessel {

using platform::getLittleEndian;
using platform::putLittleEndian;

// MousePacket: 8 bytes, little-endian.
//   at  size  field       value
//    0     1  size        8
//    1     1  packetType  0x0D
//    2     2  x           unsigned, session coordinates
//    4     2  y           unsigned, session coordinates, top-left origin
//    6     1  command     see MouseCommand
//    7     1  wheel       lines with a wheel command, else 0
MousePacket MousePacket::fromBytes(std::span<const std::uint8_t, kLength> bytes) {
  MousePacket packet;
  packet.size = getLittleEndian<0, std::uint8_t>(bytes);
  packet.packetType = getLittleEndian<1, std::uint8_t>(bytes);
  packet.x = getLittleEndian<2, std::uint16_t>(bytes);
  packet.y = getLittleEndian<4, std::uint16_t>(bytes);
  packet.command = getLittleEndian<6, std::uint8_t>(bytes);
  packet.wheel = getLittleEndian<7, std::uint8_t>(bytes);
  return packet;
}

std::array<std::uint8_t, MousePacket::kLength> MousePacket::bytes() const {
  std::array<std::uint8_t, kLength> record{};
  const std::span<std::uint8_t, kLength> bytes{record};
  putLittleEndian<0>(bytes, size);
  putLittleEndian<1>(bytes, packetType);
  putLittleEndian<2>(bytes, x);
  putLittleEndian<4>(bytes, y);
  putLittleEndian<6>(bytes, command);
  putLittleEndian<7>(bytes, wheel);
  return record;
}

}  // namespace tessel
