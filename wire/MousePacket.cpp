#include "wire/MousePacket.h"

#include "platform/base/ByteOrder.h"

namespace tessel {

using platform::getLittleEndian;
using platform::putLittleEndian;

std::optional<MousePacket> MousePacket::parse(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kSize) return std::nullopt;
  const auto record = bytes.first<kSize>();
  return MousePacket{
      getLittleEndian<0, std::uint8_t>(record),  getLittleEndian<1, std::uint8_t>(record),
      getLittleEndian<2, std::uint16_t>(record), getLittleEndian<4, std::uint16_t>(record),
      getLittleEndian<6, std::uint8_t>(record),  getLittleEndian<7, std::uint8_t>(record)};
}

std::array<std::uint8_t, MousePacket::kSize> MousePacket::bytes() const {
  std::array<std::uint8_t, kSize> bytes{};
  const std::span record{bytes};
  putLittleEndian<0>(record, size);
  putLittleEndian<1>(record, packetType);
  putLittleEndian<2>(record, x);
  putLittleEndian<4>(record, y);
  putLittleEndian<6>(record, command);
  putLittleEndian<7>(record, wheel);
  return bytes;
}

}  // namespace tessel
