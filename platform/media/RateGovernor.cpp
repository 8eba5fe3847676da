#include "platform/media/RateGovernor.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

// Bits a second: an ordinary Wi-Fi link's share beside its other traffic.
constexpr double kRate = 12e6;
// Bits: a page of 1920 by 1080 full of small text, and a moment of scrolling.
constexpr double kBucket = 8e6;
// Bits above this are forgotten: nothing can be done about them any more.
constexpr double kMaxBits = 2 * kBucket;
// Time constant of the output's mean, in seconds.
constexpr double kMemory = 1;
constexpr int kStep = 3;
// Part of the rate that a finer QP may fill: its output is an estimate.
constexpr double kMargin = 0.8;
// Time for a change to take effect before the next.
constexpr auto kBeforeCoarser = 500ms;
constexpr auto kBeforeFiner = 1s;

}  // namespace

void RateGovernor::add(std::size_t bytes, bool keyFrame, Clock::Duration uptime) {
  passTime(uptime);
  lastFrame_ = uptime;
  if (keyFrame) return;
  const double bits = static_cast<double>(bytes) * 8;
  bucket_ = std::min(bucket_ + bits, kMaxBits);
  recent_ += bits;
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
    // The recent output was made at the old coarseness; it counts as if made at the new one.
    recent_ = rateAt(wanted) * kMemory;
    bucket_ = std::min(bucket_, kBucket);
    coarseness_ = wanted;
    changed_ = uptime;
  }
  return coarseness_;
}

// Estimate of bits a second at this coarseness.
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
