#include "wire/TransmitHeader.h"

#include <algorithm>

#include "platform/base/ByteOrder.h"
#include "wire/MessageHeader.h"

namespace tessel {
namespace {

using platform::getLittleEndian;
using platform::putLittleEndian;

constexpr std::size_t kKind = 12;
constexpr std::size_t kCount = 14;
constexpr std::size_t kFollowing = 16;
constexpr std::size_t kFrameLength = 52;

constexpr std::uint16_t kKindValue = 12;
constexpr std::uint8_t kCountValue = 1;
constexpr std::uint32_t kBehindFollowing = TransmitHeader::kSize - kFollowing;

SimpleTransmitMsg withHeader(std::uint16_t pieceLength, bool more) {
  SimpleTransmitMsg message{};
  const auto header = MessageHeader{static_cast<std::uint16_t>(TransmitHeader::kSize + pieceLength),
                                    VSCH_CMD_SIMPLE_TRANSMIT, more}
                          .bytes();
  std::ranges::copy(header, message.begin());
  const std::span record{message};
  putLittleEndian<kKind>(record, kKindValue);
  putLittleEndian<kCount>(record, kCountValue);
  return message;
}

}  // namespace

SimpleTransmitMsg TransmitHeader::empty() { return withHeader(0, false); }

std::optional<TransmitHeader> TransmitHeader::parse(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kSize) return std::nullopt;
  const auto record = bytes.first<kSize>();
  const auto header = MessageHeader::parse(record.first<MessageHeader::kSize>());
  const auto frameLength = getLittleEndian<kFrameLength, std::uint32_t>(record);
  const bool fits = header->command == VSCH_CMD_SIMPLE_TRANSMIT && header->length >= kSize &&
                    getLittleEndian<kKind, std::uint16_t>(record) == kKindValue &&
                    getLittleEndian<kCount, std::uint8_t>(record) == kCountValue &&
                    getLittleEndian<kFollowing, std::uint32_t>(record) ==
                        std::uint64_t{frameLength} + kBehindFollowing;
  if (!fits) return std::nullopt;
  return TransmitHeader{static_cast<std::uint16_t>(header->length - kSize), header->more,
                        frameLength};
}

SimpleTransmitMsg TransmitHeader::bytes() const {
  SimpleTransmitMsg message = withHeader(pieceLength, more);
  const std::span record{message};
  putLittleEndian<kFollowing>(record, frameLength + kBehindFollowing);
  putLittleEndian<kFrameLength>(record, frameLength);
  return message;
}

}  // namespace tessel
