#include <chrono>
#include <gtest/gtest.h>
#include <vector>

#include "platform/media/FramePacer.h"

namespace tessel::platform {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr Clock::Duration kInterval = nanoseconds{seconds{1}} / 30;

// Captures whenever there is a change and the pacer allows it. The thread that waits for the pacer
// wakes late by `latency`.
class Screen {
 public:
  void changesAt(Clock::Duration now, Clock::Duration latency = {}) {
    const Clock::Duration at = pacer_.isDue(now) ? now : pacer_.due() + latency;
    pacer_.advance(at);
    frames_.push_back(at);
  }
  const std::vector<Clock::Duration>& frames() const { return frames_; }
  Clock::Duration last() const { return frames_.back(); }

  Clock::Duration shortest() const {
    Clock::Duration shortest = Clock::Duration::max();
    for (std::size_t i = 1; i < frames_.size(); ++i) {
      shortest = std::min(shortest, frames_[i] - frames_[i - 1]);
    }
    return shortest;
  }

 private:
  FramePacer pacer_{kInterval};
  std::vector<Clock::Duration> frames_;
};

TEST(FramePacerTest, FirstFrameIsDueAtOnce) {
  EXPECT_TRUE(FramePacer{kInterval}.isDue(Clock::Duration::zero()));
  Screen screen;
  screen.changesAt(milliseconds{5});
  EXPECT_EQ(screen.last(), milliseconds{5});
}

TEST(FramePacerTest, ConstantChangeGivesThirtyFramesASecond) {
  Screen screen;
  screen.changesAt(seconds{1});
  for (int frame = 0; frame < 3000; ++frame) screen.changesAt(screen.last() + microseconds{1});
  EXPECT_EQ(screen.last() - screen.frames().front(), 3000 * kInterval);
}

TEST(FramePacerTest, ChangeAfterARestIsCapturedAtOnceAndTheNextAnIntervalLater) {
  Screen screen;
  screen.changesAt(seconds{1});
  screen.changesAt(seconds{1} + milliseconds{1});
  screen.changesAt(seconds{7});
  EXPECT_EQ(screen.last(), seconds{7});
  screen.changesAt(seconds{7} + milliseconds{1});
  EXPECT_EQ(screen.last(), seconds{7} + kInterval);
  EXPECT_GE(screen.shortest(), kInterval);
}

TEST(FramePacerTest, IntervalHoldsAfterALateFrameAndDelayDoesNotAccumulate) {
  Screen screen;
  screen.changesAt(seconds{1});
  for (int frame = 0; frame < 300; ++frame) {
    screen.changesAt(screen.last() + microseconds{1}, microseconds{frame % 7 * 100});
  }
  EXPECT_GE(screen.shortest(), kInterval);
  screen.changesAt(screen.last() + microseconds{1}, milliseconds{20});
  const Clock::Duration late = screen.last();
  screen.changesAt(late + microseconds{1});
  EXPECT_EQ(screen.last(), late + kInterval);
}

TEST(FramePacerTest, ChangeJustBeforeTheIntervalHasPassedWaits) {
  FramePacer pacer{kInterval};
  pacer.advance(seconds{1});
  EXPECT_FALSE(pacer.isDue(seconds{1} + kInterval - nanoseconds{1}));
  EXPECT_TRUE(pacer.isDue(seconds{1} + kInterval));
}

}  // namespace
}  // namespace tessel::platform
