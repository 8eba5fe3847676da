#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

#include "platform/media/RateGovernor.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMegabit = 1'000'000 / 8;
constexpr Clock::Duration kFrame = 33333us;

/// How often the steps of a stream's frames change.
int changesOf(const std::vector<int>& coarseness) {
  int count = 0;
  for (std::size_t i = 1; i < coarseness.size(); ++i) {
    if (coarseness[i] != coarseness[i - 1]) ++count;
  }
  return count;
}

/// An encoder whose frames are `sharpBits` large, and half of that with every six steps.
class Stream {
 public:
  void play(double sharpBits, int frames) {
    for (int frame = 0; frame < frames; ++frame) {
      const int steps = governor.coarseness(now);
      const double out = sharpBits / std::exp2(steps / 6.0);
      governor.add(static_cast<std::size_t>(out / 8), false, now);
      coarseness.push_back(steps);
      bits += out;
      now += kFrame;
    }
  }
  int changes() const { return changesOf(coarseness); }
  void forget() {
    coarseness.clear();
    bits = 0;
  }

  RateGovernor governor;
  Clock::Duration now{};
  std::vector<int> coarseness;
  double bits = 0;
};

TEST(RateGovernorTest, APageMayBeAsSharpAsMeant) {
  RateGovernor governor;
  EXPECT_EQ(governor.coarseness(0s), 0);
  governor.add(8 * kMegabit, false, 0s);
  EXPECT_EQ(governor.coarseness(0s), 0);
}

TEST(RateGovernorTest, ManyPagesAreAsSharpAsTheFirst) {
  RateGovernor governor;
  for (auto page = 0s; page < 60s; page += 1s) {
    governor.add(7 * kMegabit, false, page);
    EXPECT_EQ(governor.coarseness(page), 0) << page.count();
  }
}

TEST(RateGovernorTest, MoreThanTheBucketHoldsMakesFramesCoarserAtOnce) {
  RateGovernor governor;
  governor.add(24 * kMegabit, false, 0s);
  EXPECT_EQ(governor.coarseness(0s), 6) << "twice the rate";
}

TEST(RateGovernorTest, AStreamWithinTheRateIsLeftAlone) {
  Stream stream;
  stream.play(0.38e6, 600);  // 11.4 Mbit/s
  EXPECT_EQ(stream.coarseness.back(), 0);
  EXPECT_EQ(stream.changes(), 0);
}

TEST(RateGovernorTest, AStreamOfAnyWeightSettlesBelowTheRateAndStaysThere) {
  for (const double sharpBits : {0.45e6, 0.9e6, 1.5e6, 2.1e6}) {
    Stream stream;
    stream.play(sharpBits, 300);
    stream.forget();
    stream.play(sharpBits, 300);
    EXPECT_LT(stream.bits / 10 / 1e6, 12) << sharpBits;
    EXPECT_GT(stream.bits / 10 / 1e6, 12 * 0.55) << sharpBits;
    EXPECT_EQ(stream.changes(), 0) << sharpBits;
  }
}

TEST(RateGovernorTest, WhatStillDoesNotFitIsMadeCoarserAgainAfterHalfASecond) {
  RateGovernor governor;
  governor.add(24 * kMegabit, false, 0s);
  ASSERT_EQ(governor.coarseness(0s), 6);
  governor.add(20 * kMegabit, false, 1ms);
  EXPECT_EQ(governor.coarseness(499ms), 6);
  EXPECT_GT(governor.coarseness(500ms), 6);
}

TEST(RateGovernorTest, AfterASecondOfRestFramesAreSharpAgain) {
  Stream stream;
  stream.play(2e6, 120);
  const Clock::Duration last = stream.now - kFrame;
  EXPECT_GT(stream.governor.coarseness(last + 999ms), 0);
  EXPECT_EQ(stream.governor.coarseness(last + 1s), 0);
}

TEST(RateGovernorTest, SoTheyAreAfterAStreamThatNothingCouldMakeFit) {
  Stream stream;
  stream.play(20e6, 120);
  EXPECT_EQ(stream.coarseness.back(), RateGovernor::kCoarsest);
  EXPECT_EQ(stream.governor.coarseness(stream.now - kFrame + 1s), 0);
}

TEST(RateGovernorTest, ABlinkingCaretAfterAFilmIsSharpWithinThreeSeconds) {
  Stream stream;
  stream.play(3e6, 300);
  ASSERT_GE(stream.coarseness.back(), 15);
  for (int blink = 0; blink < 6; ++blink) {
    stream.governor.add(kMegabit / 100, false, stream.now);
    stream.now += 500ms;
    stream.governor.coarseness(stream.now);
  }
  EXPECT_EQ(stream.governor.coarseness(stream.now), 0);
}

TEST(RateGovernorTest, AStreamThatGetsLighterGetsSharper) {
  Stream stream;
  stream.play(2e6, 120);
  const int heavy = stream.coarseness.back();
  stream.forget();
  stream.play(0.8e6, 300);
  EXPECT_LT(stream.coarseness.back(), heavy);
  EXPECT_GT(stream.coarseness.back(), 0);
  EXPECT_TRUE(std::ranges::is_sorted(stream.coarseness, std::greater{}));
}

// A page that takes more than the bucket holds, with a small animation on it: a key frame comes
// every ten seconds and with every change of the coarseness.
TEST(RateGovernorTest, AHeavyPageWithASmallAnimationIsLeftAlone) {
  RateGovernor governor;
  std::vector<int> coarseness;
  double bits = 0;
  int sinceKeyFrame = 0;
  for (int frame = 0; frame < 600; ++frame) {
    const Clock::Duration now = frame * kFrame;
    const int steps = governor.coarseness(now);
    const bool changed = !coarseness.empty() && steps != coarseness.back();
    coarseness.push_back(steps);
    if (changed || sinceKeyFrame == 300) sinceKeyFrame = 0;
    const bool keyFrame = sinceKeyFrame++ == 0;
    const double out = (keyFrame ? 20e6 : 0.017e6) / std::exp2(steps / 6.0);
    governor.add(static_cast<std::size_t>(out / 8), keyFrame, now);
    bits += out;
  }
  EXPECT_EQ(changesOf(coarseness), 0);
  EXPECT_LT(bits, 2 * 20e6 + 600 * 0.017e6 + 1);
}

TEST(RateGovernorTest, AnEnormousFrameAsksForNoMoreThanTheCoarsest) {
  RateGovernor governor;
  governor.add(1000 * kMegabit, false, 0s);
  EXPECT_EQ(governor.coarseness(0s), RateGovernor::kCoarsest);
  EXPECT_EQ(governor.coarseness(1s), 0);
}

}  // namespace
}  // namespace tessel::platform
