#include "display/FrameSender.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "display/DisplayCommands.h"
#include "platform/Log.h"
#include "platform/base/ByteOrder.h"
#include "tessel/DisplayMessages.h"

namespace tessel {
namespace {

using platform::putLittleEndian;

constexpr const char* kOperation = "-[TSLDisplayConnection sendSampleBuffer:bufferLength:]";

using ExtendedCommand = std::array<std::uint8_t, 4>;

std::uint8_t moreThanOnePiece(std::size_t remaining) { return remaining > kPieceLimit ? 1 : 0; }

// Header of a frame's first piece: 56 bytes. What is not listed is 0.
//
//     at  size  value
//      0     2  56 + length of the first piece
//      2     1  0x05   command
//      3     1  more   1 when the frame is longer than one piece
//     12     2  12
//     14     1  1
//     16     4  length of the frame + 40: what follows offset 16, over all pieces
//     52     4  length of the frame
SimpleTransmitMsg transmitHeader(std::size_t frame, std::size_t piece) {
  SimpleTransmitMsg header;
  DefaultSimpleTransmitMsg(header);
  const std::span record{header};
  putLittleEndian<0>(record, static_cast<std::uint16_t>(header.size() + piece));
  putLittleEndian<3>(record, moreThanOnePiece(frame));
  putLittleEndian<16>(record, static_cast<std::uint32_t>(frame + 40));
  putLittleEndian<52>(record, static_cast<std::uint32_t>(frame));
  return header;
}

// Header of each further piece: 4 bytes.
//
//     at  size  value
//      0     2  4 + length of the piece
//      2     1  0x05   command
//      3     1  more   1 when what remained before this piece is longer than one piece
ExtendedCommand extendedCommand(std::size_t remaining, std::size_t piece) {
  ExtendedCommand header{};
  const std::span record{header};
  putLittleEndian<0>(record, static_cast<std::uint16_t>(header.size() + piece));
  putLittleEndian<2>(record, VSCH_CMD_SIMPLE_TRANSMIT);
  putLittleEndian<3>(record, moreThanOnePiece(remaining));
  return header;
}

bool sendExtendedCommand(ByteSink& sink, std::span<const std::uint8_t> remaining,
                         std::size_t piece) {
  const ExtendedCommand header = extendedCommand(remaining.size(), piece);
  if (!sink.sendBuffer(header.data(), header.size())) {
    platform::log("%s: Failed to send SIMPLE_TRANSMIT_MSG extended command!", kOperation);
    return false;
  }
  if (!sink.sendBuffer(remaining.data(), piece)) {
    platform::log("%s: Failed to send SIMPLE_TRANSMIT_MSG extended command data. bytesToSend: %zu!",
                  kOperation, piece);
    return false;
  }
  return true;
}

}  // namespace

void sendFrame(ByteSink& sink, const void* bytes, std::size_t length) {
  std::span remaining{static_cast<const std::uint8_t*>(bytes), length};
  std::size_t piece = std::min(length, kPieceLimit);
  const SimpleTransmitMsg header = transmitHeader(length, piece);
  if (!sink.sendBuffer(header.data(), header.size())) {
    platform::log("%s: Failed to send SIMPLE_TRANSMIT_MSG!", kOperation);
    return;
  }
  if (!sink.sendBuffer(remaining.data(), piece)) {
    platform::log("%s: Failed to send SIMPLE_TRANSMIT_MSG data. bytesToSend: %zu!", kOperation,
                  piece);
    return;
  }
  for (remaining = remaining.subspan(piece); !remaining.empty();
       remaining = remaining.subspan(piece)) {
    piece = std::min(remaining.size(), kPieceLimit);
    if (!sendExtendedCommand(sink, remaining, piece)) return;
  }
}

}  // namespace tessel
