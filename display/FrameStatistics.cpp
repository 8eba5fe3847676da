#include "display/FrameStatistics.h"

namespace tessel {

void FrameStatistics::encodingStarted(platform::Clock::Duration uptime) {
  const std::lock_guard lock{mutex_};
  inEncoder_.push_back(uptime);
}

void FrameStatistics::encodingRefused() {
  const std::lock_guard lock{mutex_};
  if (!inEncoder_.empty()) inEncoder_.pop_back();
}

void FrameStatistics::encodingFinished(platform::Clock::Duration uptime, bool complete) {
  const std::lock_guard lock{mutex_};
  if (!inEncoder_.empty()) {
    encodeTime_ += uptime - inEncoder_.front();
    inEncoder_.pop_front();
  }
  if (complete) ++framesEncoded_;
}

TSLSessionStatistics FrameStatistics::snapshot() const {
  TSLSessionStatistics statistics;
  statistics.framesCaptured = framesCaptured_;
  statistics.framesDropped = framesDropped_;
  statistics.bytesSent = bytesSent_;
  const std::lock_guard lock{mutex_};
  statistics.framesEncoded = framesEncoded_;
  statistics.encodeSeconds = std::chrono::duration<double>{encodeTime_}.count();
  return statistics;
}

}  // namespace tessel
