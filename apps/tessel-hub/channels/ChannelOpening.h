#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "wire/ChannelCommand.h"

namespace tessel::hub {

/// Recognizes a connection's channel by its opening message, as it arrives.
struct ChannelOpening {
  enum class Verdict { kIncomplete, kAccepted, kRefused };

  Verdict verdict = Verdict::kIncomplete;
  ChannelKind kind = ChannelKind::kDisplay;
  /// The most bytes still to be read, none of which belongs to what follows the opening.
  std::size_t missing = 0;

  /// Judges the bytes received so far.
  static ChannelOpening judge(std::span<const std::uint8_t> bytes, bool newProtocol);
};

}  // namespace tessel::hub
