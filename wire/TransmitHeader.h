#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "tessel/DisplayMessages.h"

namespace tessel {

/// The most bytes of a frame that one message carries. With its header it fits the 16-bit length.
inline constexpr std::size_t kMaxPieceLength = 50000;

/// SIMPLE_TRANSMIT_MSG: goes in front of a frame's first piece. 56 bytes, little-endian; what is
/// not listed is 0 when sent and ignored when received.
///
///     at  size  value                meaning
///      0     2  56 + pieceLength     length
///      2     1  0x05                 command
///      3     1  more                 1: further pieces follow, each behind an extended command
///     12     2  12
///     14     1  1
///     16     4  frameLength + 40     bytes behind offset 16, over all pieces
///     52     4  frameLength          bytes of the frame, over all pieces
struct TransmitHeader {
  static constexpr std::size_t kSize = sizeof(SimpleTransmitMsg);

  std::uint16_t pieceLength = 0;
  bool more = false;
  std::uint32_t frameLength = 0;

  /// The header of a message without content, in which the count at offset 16 is 0 too.
  static SimpleTransmitMsg empty();

  /// None unless there are exactly 56 bytes, and all listed values fit together.
  static std::optional<TransmitHeader> parse(std::span<const std::uint8_t> bytes);

  SimpleTransmitMsg bytes() const;

  bool operator==(const TransmitHeader&) const = default;
};

}  // namespace tessel
