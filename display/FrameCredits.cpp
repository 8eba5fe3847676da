#include "display/FrameCredits.h"

namespace tessel {

void FrameCredits::set(std::int64_t count) {
  const platform::MutexLock lock{transmitLock_};
  ackedSamples_ = count;
}

bool FrameCredits::take() {
  const platform::MutexLock lock{transmitLock_};
  if (ackedSamples_ <= 0) return false;
  --ackedSamples_;
  return true;
}

void FrameCredits::give() {
  const platform::MutexLock lock{transmitLock_};
  ++ackedSamples_;
}

std::int64_t FrameCredits::count() const {
  const platform::MutexLock lock{transmitLock_};
  return ackedSamples_;
}

}  // namespace tessel
