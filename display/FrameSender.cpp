#include "display/FrameSender.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "platform/Log.h"
#include "wire/MessageHeader.h"
#include "wire/TransmitHeader.h"

namespace tessel {
namespace {

constexpr const char* kOperation = "-[TSLDisplayConnection sendSampleBuffer:bufferLength:]";

bool moreThanOnePiece(std::size_t remaining) { return remaining > kMaxPieceLength; }

SimpleTransmitMsg transmitHeader(std::size_t frame, std::size_t piece) {
  return TransmitHeader{static_cast<std::uint16_t>(piece), moreThanOnePiece(frame),
                        static_cast<std::uint32_t>(frame)}
      .bytes();
}

// `remaining`: bytes of the frame that have not been sent, those of this piece included.
std::array<std::uint8_t, MessageHeader::kSize> extendedCommand(std::size_t remaining,
                                                               std::size_t piece) {
  return MessageHeader{static_cast<std::uint16_t>(MessageHeader::kSize + piece),
                       VSCH_CMD_SIMPLE_TRANSMIT, moreThanOnePiece(remaining)}
      .bytes();
}

bool sendExtendedCommand(ByteSink& sink, std::span<const std::uint8_t> remaining,
                         std::size_t piece) {
  const auto header = extendedCommand(remaining.size(), piece);
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
  std::size_t piece = std::min(length, kMaxPieceLength);
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
    piece = std::min(remaining.size(), kMaxPieceLength);
    if (!sendExtendedCommand(sink, remaining, piece)) return;
  }
}

}  // namespace tessel
