#pragma once

#include <cstddef>

#include "platform/Clock.h"

namespace tessel::platform {

/// Keeps a stream below a bit rate, for an encoder that is told how coarse its frames may be and
/// not how large. One thread at a time.
///
/// What the encoder puts out flows into a bucket that drains at the rate allowed. As long as the
/// bucket does not run over, frames are as sharp as they are meant to be: a page that is turned
/// costs what it costs. When it does, as with a film, frames get so much coarser that no more flows
/// in than drains. They are sharp again as soon as that would fit, and after a second's rest at
/// once. A picture that then stands still stays as its last frame has shown it, so none is made so
/// coarse that it could not be looked at for long.
///
/// Time is the clock's and not the stream's: frames come only when the screen changes, and the time
/// in which it stands still makes room for the next page.
class RateGovernor {
 public:
  /// In steps of a quantiser, of which six halve what the encoder puts out.
  static constexpr int kCoarsest = 18;

  /// A frame of this many bytes has come out; `uptime` never goes back.
  void add(std::size_t bytes, Clock::Duration uptime);

  /// How much coarser than meant a frame should be now: 0 to kCoarsest. It changes seldom, so that
  /// an encoder may begin anew for it.
  int coarseness(Clock::Duration uptime);

 private:
  void passTime(Clock::Duration uptime);
  double rateAt(int coarseness) const;

  double bucket_ = 0;  // bits
  double recent_ = 0;  // bits; the older the less they count
  int coarseness_ = 0;
  Clock::Duration now_{};
  Clock::Duration lastFrame_{};
  Clock::Duration changed_{};  // when the coarseness was
};

}  // namespace tessel::platform
