#pragma once

#include <cstdint>

namespace tessel {

/// What a session's display channel has done since it started.
struct TSLSessionStatistics {
  std::int64_t framesCaptured = 0;  ///< frames that the screen capture delivered
  std::int64_t framesEncoded = 0;   ///< frames that left the encoder
  /// Frames dropped: late, for want of a credit, or because too much waits to be sent.
  std::int64_t framesDropped = 0;
  std::int64_t bytesSent = 0;  ///< bytes queued on the display channel
  std::int64_t credits = 0;    ///< frames that may still be sent before the hub answers
  double encodeSeconds = 0;    ///< time spent in the encoder, over all frames
};

}  // namespace tessel
