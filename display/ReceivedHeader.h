#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tessel {

/// The four bytes in front of every message from the hub.
///
///     at  size  field    meaning
///      0     2  length   bytes of the message, these four included; little-endian
///      2     1  command  what the message is
///      3     1  more     ignored
///
/// The length is all that frames the stream: no message has a body that is looked at.
struct ReceivedHeader {
  static constexpr std::size_t kSize = 4;

  std::uint16_t length = 0;
  std::uint8_t command = 0;

  /// None unless there are exactly four bytes.
  static std::optional<ReceivedHeader> parse(std::span<const std::uint8_t> bytes);

  /// Bytes to skip before the next header; none when the length does not even cover the header.
  std::size_t bodyLength() const;

  /// How the log calls the body that could not be skipped.
  const char* skipName() const;
};

}  // namespace tessel
