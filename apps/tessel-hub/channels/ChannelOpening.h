#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tessel::hub {

/// Which channel a connection turns out to be.
enum class ChannelKind { display, mouse, keyboard };

/// Tells a connection's channel by its opening message:
///
///     display, old protocol   04 00 00 00
///     display, new protocol   00 00 00 00 01 00 00 00 00
///     mouse                   02 00 00 00 01 00 00 00 00
///     keyboard                01 00 00 00 01 00 00 00 00
struct ChannelOpening {
  enum class Verdict { incomplete, accepted, refused };

  Verdict verdict = Verdict::incomplete;
  ChannelKind kind = ChannelKind::display;
  /// The most bytes still to be read, none of which belongs to what follows the opening.
  std::size_t missing = 0;

  /// Judges the bytes received so far.
  static ChannelOpening judge(std::span<const std::uint8_t> bytes, bool newProtocol);
};

}  // namespace tessel::hub
