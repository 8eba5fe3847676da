#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>

#include "platform/Clock.h"
#include "tessel/TSLSessionStatistics.h"

namespace tessel {

/// Counts what happens to the frames of one display channel. Any thread.
class FrameStatistics {
 public:
  void captured() { ++framesCaptured_; }
  void dropped() { ++framesDropped_; }
  void sent(std::size_t bytes) { bytesSent_ += static_cast<std::int64_t>(bytes); }

  /// A frame is about to be handed to the encoder.
  void encodingStarted(platform::Clock::Duration uptime);
  /// The encoder refused the frame handed to it last: no output follows.
  void encodingRefused();
  /// The encoder's output for the oldest frame that it still had. `complete` tells whether that is
  /// a picture.
  void encodingFinished(platform::Clock::Duration uptime, bool complete);

  /// All counts; the credits are left 0.
  TSLSessionStatistics snapshot() const;

 private:
  std::atomic<std::int64_t> framesCaptured_{0};
  std::atomic<std::int64_t> framesDropped_{0};
  std::atomic<std::int64_t> bytesSent_{0};

  mutable std::mutex mutex_;  // guards all below
  // When each frame now in the encoder was handed to it: frames leave in the order in which they
  // came, because the encoder reorders nothing.
  std::deque<platform::Clock::Duration> inEncoder_;
  platform::Clock::Duration encodeTime_{0};
  std::int64_t framesEncoded_ = 0;
};

}  // namespace tessel
