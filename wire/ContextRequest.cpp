#include "wire/ContextRequest.h"

#include <algorithm>
#include <array>

#include "platform/base/ByteOrder.h"
#include "wire/MessageHeader.h"

namespace tessel {
namespace {

using platform::getLittleEndian;
using platform::putLittleEndian;

constexpr std::size_t kImageSize = 56;
constexpr std::size_t kSourceRight = 148;
constexpr std::size_t kSourceBottom = 152;
constexpr std::size_t kTargetRight = 164;
constexpr std::size_t kTargetBottom = 168;
constexpr std::size_t kBitmapWidth = 192;
constexpr std::size_t kBitmapHeight = 196;
constexpr std::size_t kBitCount = 202;

// The bytes of a GUID: three little-endian numbers (4, 2 and 2 bytes), then 8 bytes.
using Guid = std::array<std::uint8_t, 16>;

// 73646976-0000-0010-8000-00AA00389B71
constexpr Guid kVideo = {'v',  'i',  'd',  's',  0x00, 0x00, 0x10, 0x00,
                         0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
// 34363248-0000-0010-8000-00AA00389B71
constexpr Guid kH264 = {'H',  '2',  '6',  '4',  0x00, 0x00, 0x10, 0x00,
                        0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
// 05589F80-C356-11CE-BF01-00AA0055595A
constexpr Guid kVideoInfo = {0x80, 0x9F, 0x58, 0x05, 0x56, 0xC3, 0xCE, 0x11,
                             0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A};

template <std::size_t At>
void putGuid(std::span<std::uint8_t, ContextRequest::kSize> record, const Guid& guid) {
  std::ranges::copy(guid, record.subspan<At, sizeof(Guid)>().begin());
}

}  // namespace

H264ContextRequestMsg ContextRequest::withoutSize() {
  H264ContextRequestMsg message{};
  std::ranges::copy(MessageHeader{kSize, VSCH_CMD_CREATE_CONTEXT}.bytes(), message.begin());
  const std::span record{message};
  putLittleEndian<12>(record, 0x01D88000U);
  putLittleEndian<16>(record, std::uint16_t{0x0010});
  putLittleEndian<18>(record, std::uint16_t{0x0004});
  putLittleEndian<20>(record, 12U);
  putLittleEndian<24>(record, 4U);
  putLittleEndian<28>(record, 1U);
  putLittleEndian<32>(record, 12U);
  putLittleEndian<36>(record, 2U);
  putLittleEndian<44>(record, 24U);
  putLittleEndian<52>(record, 3U);
  putLittleEndian<68>(record, 72U);
  putLittleEndian<72>(record, 1U);
  putGuid<76>(record, kVideo);
  putGuid<92>(record, kH264);
  putGuid<108>(record, kVideoInfo);
  putLittleEndian<124>(record, 88U);
  putLittleEndian<132>(record, 1U);
  putLittleEndian<188>(record, 40U);
  putLittleEndian<200>(record, std::uint16_t{1});
  return message;
}

std::optional<ContextRequest> ContextRequest::parse(std::span<const std::uint8_t> message) {
  if (message.size() != kSize) return std::nullopt;
  const auto record = message.first<kSize>();
  return ContextRequest{getLittleEndian<kBitmapWidth, std::uint32_t>(record),
                        getLittleEndian<kBitmapHeight, std::uint32_t>(record),
                        getLittleEndian<kBitCount, std::uint16_t>(record)};
}

H264ContextRequestMsg ContextRequest::bytes() const {
  H264ContextRequestMsg message = withoutSize();
  putSize(message);
  return message;
}

void ContextRequest::putSize(H264ContextRequestMsg& message) const {
  const std::span record{message};
  putLittleEndian<kImageSize>(record, width * height * bitsPerPixel);
  putLittleEndian<kSourceRight>(record, width);
  putLittleEndian<kSourceBottom>(record, height);
  putLittleEndian<kTargetRight>(record, width);
  putLittleEndian<kTargetBottom>(record, height);
  putLittleEndian<kBitmapWidth>(record, width);
  putLittleEndian<kBitmapHeight>(record, height);
  putLittleEndian<kBitCount>(record, static_cast<std::uint16_t>(bitsPerPixel));
}

}  // namespace tessel
