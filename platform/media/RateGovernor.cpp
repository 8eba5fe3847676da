#include "platform/media/RateGovernor.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

// What an ordinary Wi-Fi link carries beside its other traffic, in bits a second.
constexpr double kRate = 12e6;
// Bits: a key frame of 1920 by 1080 full of small text, and what scrolling adds in a moment.
constexpr double kBucket = 8e6;
// What runs over is forgotten where there is nothing left to do about it.
constexpr double kFull = 2 * kBucket;
// Seconds after which what has come out counts for a third.
constexpr double kMemory = 1;
constexpr int kStep = 3;
// A finer quantiser has to leave this much of the rate free: its output is only foretold.
constexpr double kMargin = 0.8;
// How long a change is given to show what it does.
constexpr auto kBeforeCoarser = 500ms;
constexpr auto kBeforeFiner = 1s;

}  // namespace

void RateGovernor::add(std::size_t bytes, Clock::Duration uptime) {
  passTime(uptime);
  const double bits = static_cast<double>(bytes) * 8;
  bucket_ = std::min(bucket_ + bits, kFull);
  recent_ += bits;
  lastFrame_ = uptime;
}

int RateGovernor::coarseness(Clock::Duration uptime) {
  passTime(uptime);
  const Clock::Duration settled = uptime - changed_;
  int wanted = coarseness_;
  if (uptime - lastFrame_ >= kBeforeFiner) {
    wanted = 0;
  } else if (bucket_ > kBucket) {
    if (coarseness_ > 0 && settled < kBeforeCoarser) return coarseness_;
    while (wanted < kCoarsest && rateAt(wanted) > kRate) wanted += kStep;
  } else if (settled >= kBeforeFiner) {
    while (wanted > 0 && rateAt(wanted - kStep) < kMargin * kRate) wanted -= kStep;
  }
  if (wanted != coarseness_) {
    // What has come out so far was at another coarseness: from now on it counts as it would have
    // been at this one.
    recent_ = rateAt(wanted) * kMemory;
    bucket_ = std::min(bucket_, kBucket);
    coarseness_ = wanted;
    changed_ = uptime;
  }
  return coarseness_;
}

// Bits a second, had all been this coarse.
double RateGovernor::rateAt(int coarseness) const {
  return recent_ / kMemory * std::exp2((coarseness_ - coarseness) / 6.0);
}

void RateGovernor::passTime(Clock::Duration uptime) {
  const double passed = std::chrono::duration<double>{uptime - now_}.count();
  now_ = uptime;
  bucket_ = std::max(bucket_ - passed * kRate, 0.0);
  recent_ *= std::exp(-passed / kMemory);
}

}  // namespace tessel::platform
