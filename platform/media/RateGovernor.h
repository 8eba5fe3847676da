#pragma once

#include <cstddef>

#include "platform/Clock.h"

namespace tessel::platform {

/// Keeps a stream below a bit rate, for an encoder whose QP is set from outside. One thread at a
/// time.
///
/// A token bucket: single large frames pass at the QP meant for text; a sustained overflow, as of a
/// film, raises the QP until the output fits the rate. The QP falls again as soon as the finer
/// output would fit, and after a second without frames at once. The last frame before a rest is
/// what stays on the screen, so there is a limit to how coarse a frame may be.
///
/// Time is the clock's and not the stream's: frames come only when the screen changes, and the
/// bucket drains while it stands still.
class RateGovernor {
 public:
  /// In QP steps, of which six halve the output.
  static constexpr int kCoarsest = 18;

  /// A frame of this many bytes has come out; `uptime` never goes back. Key frames do not count:
  /// their size does not foretell the next frame's, and every change of the QP forces one, which
  /// would be the cause of the next change.
  void add(std::size_t bytes, bool keyFrame, Clock::Duration uptime);

  /// How much coarser than meant the next frame is to be: 0 to kCoarsest. Changes seldom: for each
  /// the encoder begins a new stream.
  int coarseness(Clock::Duration uptime);

 private:
  void passTime(Clock::Duration uptime);
  double rateAt(int coarseness) const;

  double bucket_ = 0;  // bits
  double recent_ = 0;  // bits; decays with time
  int coarseness_ = 0;
  Clock::Duration now_{};
  Clock::Duration lastFrame_{};
  Clock::Duration changed_{};  // time of the last change of coarseness_
};

}  // namespace tessel::platform
