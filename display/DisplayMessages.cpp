#include "tessel/DisplayMessages.h"

#include <algorithm>
#include <span>

#include "display/DisplayCommands.h"
#include "platform/base/ByteOrder.h"

namespace tessel {
namespace {

using platform::putLittleEndian;

// A GUID as it lies in a record: three little-endian numbers (4, 2 and 2 bytes), then 8 bytes.
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
void putGuid(std::span<std::uint8_t, 228> record, const Guid& guid) {
  std::ranges::copy(guid, record.subspan<At, sizeof(Guid)>().begin());
}

}  // namespace

// H264ContextRequestMsg: 228 bytes. What is not listed is 0.
//
//     at  size  value          meaning
//      0     2  228            length
//      2     1  0x02           command
//     12     4  0x01D88000
//     16     2  0x0010
//     18     2  0x0004
//     20     4  12
//     24     4  4
//     28     4  1
//     32     4  12
//     36     4  2
//     44     4  24
//     52     4  3
//     56     4  (resolution)   image size
//     68     4  72
//     72     4  1
//     76    16  vids           major type
//     92    16  H264           subtype
//    108    16  VideoInfo      format type
//    124     4  88             size of the format block, which starts at 140
//    132     4  1
//    140    16  (resolution)   source rectangle: left, top, right, bottom
//    156    16  (resolution)   target rectangle: left, top, right, bottom
//    172     4  0              bit rate
//    176     4  0              bit error rate
//    180     8  0              average time per frame
//    188     4  40             size of the bitmap header, which starts here
//    192     4  (resolution)   bitmap width
//    196     4  (resolution)   bitmap height, positive
//    200     2  1              planes
//    202     2  (resolution)   bits per pixel
//    204    24  0              compression, image size, pels per metre, colours
void DefaultH264ContextRequestMsg(H264ContextRequestMsg& message) {
  message.fill(0);
  const std::span record{message};
  putLittleEndian<0>(record, std::uint16_t{228});
  putLittleEndian<2>(record, VSCH_CMD_CREATE_CONTEXT);
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
}

//     at  size  value
//     56     4  width x height x bitsPerPixel, wrapped to 32 bits
//    148     4  width, the source rectangle's right
//    152     4  height, the source rectangle's bottom
//    164     4  width, the target rectangle's right
//    168     4  height, the target rectangle's bottom
//    192     4  width
//    196     4  height
//    202     2  bitsPerPixel
void SetH264ContextRequestMsgResolution(H264ContextRequestMsg& message, std::uint32_t width,
                                        std::uint32_t height, std::uint32_t bitsPerPixel) {
  const std::span record{message};
  putLittleEndian<56>(record, width * height * bitsPerPixel);
  putLittleEndian<148>(record, width);
  putLittleEndian<152>(record, height);
  putLittleEndian<164>(record, width);
  putLittleEndian<168>(record, height);
  putLittleEndian<192>(record, width);
  putLittleEndian<196>(record, height);
  putLittleEndian<202>(record, static_cast<std::uint16_t>(bitsPerPixel));
}

// SimpleControlMsg: 24 bytes. What is not listed is 0.
//
//     at  size  value
//      0     2  24     length
//      2     1  0x06   command
//     12     2  12
//     14     2  1
//     16     4  8      bytes that follow offset 16
void DefaultSimpleControlMsg(SimpleControlMsg& message) {
  message.fill(0);
  const std::span record{message};
  putLittleEndian<0>(record, std::uint16_t{24});
  putLittleEndian<2>(record, VSCH_CMD_SIMPLE_CONTROL);
  putLittleEndian<12>(record, std::uint16_t{12});
  putLittleEndian<14>(record, std::uint16_t{1});
  putLittleEndian<16>(record, 8U);
}

// SimpleTransmitMsg: 56 bytes. What is not listed is 0.
//
//     at  size  value
//      0     2  56     length
//      2     1  0x05   command
//     12     2  12
//     14     1  1
void DefaultSimpleTransmitMsg(SimpleTransmitMsg& message) {
  message.fill(0);
  const std::span record{message};
  putLittleEndian<0>(record, std::uint16_t{56});
  putLittleEndian<2>(record, VSCH_CMD_SIMPLE_TRANSMIT);
  putLittleEndian<12>(record, std::uint16_t{12});
  putLittleEndian<14>(record, std::uint8_t{1});
}

// DestroyContextMsg: 12 bytes. Length 12, command 0x04, the rest 0.
DestroyContextMsg DefaultDestroyContextMsg() {
  DestroyContextMsg message{};
  const std::span record{message};
  putLittleEndian<0>(record, std::uint16_t{12});
  putLittleEndian<2>(record, VSCH_CMD_DESTROY_CONTEXT);
  return message;
}

}  // namespace tessel
