#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Clock.h"
#include "tessel/TSLSessionStatistics.h"

namespace tessel {

/// Counts what happens to the frames of one display channel. Any thread.
class FrameStatistics {
 public:
  void captured() { ++framesCaptured_; }
  void dropped() { ++framesDropped_; }
  /// A frame has left the encoder after this time; `complete` tells whether as a picture.
  void encoded(platform::Clock::Duration time, bool complete);

  /// The counts of frames; all else is left 0.
  TSLSessionStatistics snapshot() const;

 private:
  std::atomic<std::int64_t> framesCaptured_{0};
  std::atomic<std::int64_t> framesDropped_{0};
  std::atomic<std::int64_t> framesEncoded_{0};
  std::atomic<platform::Clock::Duration> encodeTime_{platform::Clock::Duration{0}};
};

}  // namespace tessel
