#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tessel {

/// Commands of the display channel. To the hub: asks for a decoding context.
inline constexpr std::uint8_t VSCH_CMD_CREATE_CONTEXT = 0x02;
/// To the hub: ends a decoding context.
inline constexpr std::uint8_t VSCH_CMD_DESTROY_CONTEXT = 0x04;
/// To the hub: a frame's first piece, or a further one.
inline constexpr std::uint8_t VSCH_CMD_SIMPLE_TRANSMIT = 0x05;
/// To the hub: a control message without content.
inline constexpr std::uint8_t VSCH_CMD_SIMPLE_CONTROL = 0x06;
/// From the hub: answers the request for a context; its body carries nothing.
inline constexpr std::uint8_t VSCH_CMD_CREATE_CONTEXT_RESPONSE = 0x81;
/// From the hub: acknowledges one frame; its body carries nothing.
inline constexpr std::uint8_t VSCH_CMD_CONTROL_C2H = 0x87;

/// The start of every message of the display channel, in both directions. By itself, with a piece
/// behind it, it is the extended command that carries a frame's further pieces. Little-endian.
///
///     at  size  field    meaning
///      0     2  length   bytes of the message, these four included
///      2     1  command  one of the codes above
///      3     1  more     1: further pieces of the same frame follow; else 0
///
/// The length is all that frames the stream.
struct MessageHeader {
  static constexpr std::size_t kSize = 4;

  std::uint16_t length = kSize;
  std::uint8_t command = 0;
  bool more = false;

  /// None unless there are exactly four bytes. Only a 1 counts as `more`.
  static std::optional<MessageHeader> parse(std::span<const std::uint8_t> bytes);

  std::array<std::uint8_t, kSize> bytes() const;

  /// Bytes behind the header; none when the length does not even cover the header.
  std::size_t bodyLength() const { return length > kSize ? length - kSize : 0; }

  bool operator==(const MessageHeader&) const = default;
};

}  // namespace tessel
