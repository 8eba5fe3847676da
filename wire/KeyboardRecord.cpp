#include "wire/KeyboardRecord.h"

#include "platform/base/ByteOrder.h"

namespace tessel {

using platform::getLittleEndian;
using platform::putLittleEndian;

std::optional<KeyboardRecord> KeyboardRecord::parse(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kSize) return std::nullopt;
  const auto record = bytes.first<kSize>();
  return KeyboardRecord{getLittleEndian<0, std::uint32_t>(record),
                        getLittleEndian<4, std::uint8_t>(record),
                        getLittleEndian<5, std::uint8_t>(record),
                        static_cast<std::int16_t>(getLittleEndian<6, std::uint16_t>(record))};
}

KeyboardRecord KeyboardRecord::fromNumber(std::uint64_t number) {
  std::array<std::uint8_t, kSize> bytes{};
  putLittleEndian<0>(std::span{bytes}, number);
  return *parse(bytes);
}

std::array<std::uint8_t, KeyboardRecord::kSize> KeyboardRecord::bytes() const {
  std::array<std::uint8_t, kSize> bytes{};
  const std::span record{bytes};
  putLittleEndian<0>(record, cmd);
  putLittleEndian<4>(record, eventType);
  putLittleEndian<5>(record, keyFlag);
  putLittleEndian<6>(record, static_cast<std::uint16_t>(keyCode));
  return bytes;
}

}  // namespace tessel
