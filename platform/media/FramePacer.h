#pragma once

#include <cassert>

#include "platform/Clock.h"

namespace tessel::platform {

/// Keeps the frames of a capture a minimum interval apart. A frame is due at once after a rest of
/// that length, and never earlier: a late frame delays the next one. One thread.
class FramePacer {
 public:
  explicit FramePacer(Clock::Duration minInterval) : minInterval_{minInterval} {}

  /// The uptime from which on the next frame may be captured; zero before the first.
  Clock::Duration due() const { return due_; }
  bool isDue(Clock::Duration now) const { return now >= due_; }

  /// A frame is captured now, or was tried and dropped.
  void advance(Clock::Duration now) {
    assert(isDue(now));
    due_ = now + minInterval_;
  }

 private:
  const Clock::Duration minInterval_;
  Clock::Duration due_{};
};

}  // namespace tessel::platform
