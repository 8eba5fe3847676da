#include "display/FrameStatistics.h"

#include <chrono>

namespace tessel {

// Called by one thread at a time, the encoder's: the sum needs no more than an atomic store.
void FrameStatistics::encoded(platform::Clock::Duration time, bool complete) {
  encodeTime_ = encodeTime_.load() + time;
  if (complete) ++framesEncoded_;
}

TSLSessionStatistics FrameStatistics::snapshot() const {
  TSLSessionStatistics statistics;
  statistics.framesCaptured = framesCaptured_;
  statistics.framesDropped = framesDropped_;
  statistics.framesEncoded = framesEncoded_;
  statistics.encodeSeconds = std::chrono::duration<double>{encodeTime_.load()}.count();
  return statistics;
}

}  // namespace tessel
