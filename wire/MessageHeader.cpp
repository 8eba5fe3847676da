#include "wire/MessageHeader.h"

#include "platform/base/ByteOrder.h"

namespace tessel {

std::optional<MessageHeader> MessageHeader::parse(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kSize) return std::nullopt;
  const auto record = bytes.first<kSize>();
  return MessageHeader{platform::getLittleEndian<0, std::uint16_t>(record),
                       platform::getLittleEndian<2, std::uint8_t>(record),
                       platform::getLittleEndian<3, std::uint8_t>(record) == 1};
}

std::array<std::uint8_t, MessageHeader::kSize> MessageHeader::bytes() const {
  std::array<std::uint8_t, kSize> bytes{};
  const std::span record{bytes};
  platform::putLittleEndian<0>(record, length);
  platform::putLittleEndian<2>(record, command);
  platform::putLittleEndian<3>(record, std::uint8_t{more});
  return bytes;
}

}  // namespace tessel
