#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/base/Group.h"
#include "tests/support/SimScheduler.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(SimSchedulerTest, TasksRunInTheOrderOfPostingAcrossQueues) {
  SimScheduler scheduler;
  const auto one = scheduler.makeSerialQueue("one");
  const auto two = scheduler.makeSerialQueue("two");
  std::vector<std::string> order;
  one->async([&] { order.emplace_back("a"); });
  two->async([&] {
    order.emplace_back("b");
    one->async([&] { order.emplace_back("d"); });
  });
  one->async([&] { order.emplace_back("c"); });
  scheduler.run();
  EXPECT_THAT(order, ElementsAre("a", "b", "c", "d"));
}

TEST(SimSchedulerTest, ASleepingQueueWaitsForSimulatedTimeOnly) {
  SimScheduler scheduler;
  const auto queue = scheduler.makeSerialQueue("queue");
  bool awake = false;
  queue->async([&] {
    scheduler.sleep(2s);
    awake = true;
  });
  scheduler.advance(1999ms);
  EXPECT_FALSE(awake);
  scheduler.advance(1ms);
  EXPECT_TRUE(awake);
}

TEST(SimSchedulerTest, AWaitEndsWithItsEventOrItsTimeOut) {
  SimScheduler scheduler;
  const auto waiting = scheduler.makeSerialQueue("waiting");
  const auto other = scheduler.makeSerialQueue("other");
  platform::Group group{scheduler};
  group.enter();
  std::vector<bool> outcomes;
  waiting->async([&] { outcomes.push_back(group.wait(5s)); });
  waiting->async([&] { outcomes.push_back(group.wait(5s)); });
  scheduler.advance(5s);
  EXPECT_THAT(outcomes, ElementsAre(false));
  other->async([&] { group.leave(); });
  scheduler.run();
  EXPECT_THAT(outcomes, ElementsAre(false, true));
}

TEST(SimSchedulerTest, TheMomentsOfATimerBeginWithItsFirstResume) {
  SimScheduler scheduler;
  int ticks = 0;
  const auto timer = scheduler.makeTimer(scheduler.mainQueue(), 0s, 5s, [&] { ++ticks; });
  scheduler.advance(18s);
  EXPECT_EQ(ticks, 0);
  timer->resume();
  scheduler.run();
  EXPECT_EQ(ticks, 1);
  scheduler.advance(4999ms);
  EXPECT_EQ(ticks, 1);
  scheduler.advance(1ms);
  EXPECT_EQ(ticks, 2);
}

TEST(SimSchedulerTest, TimersTickWhileResumedAndCatchUpOnceAtTheNextResume) {
  SimScheduler scheduler;
  int ticks = 0;
  const auto timer = scheduler.makeTimer(scheduler.mainQueue(), 0s, 5s, [&] { ++ticks; });
  timer->resume();
  scheduler.run();
  timer->suspend();
  scheduler.advance(18s);
  EXPECT_EQ(ticks, 1);
  timer->resume();
  scheduler.run();
  EXPECT_EQ(ticks, 2);
  scheduler.advance(2s);  // 20 seconds after the first resume
  EXPECT_EQ(ticks, 3);
  timer->cancel();
  scheduler.advance(10s);
  EXPECT_EQ(ticks, 3);
}

TEST(SimSchedulerTest, TheTestsOwnThreadMayBlock) {
  SimScheduler scheduler;
  const auto queue = scheduler.makeSerialQueue("queue");
  platform::Condition condition{scheduler};
  queue->async([&] {
    scheduler.sleep(3s);
    condition.signal();
  });
  condition.wait();
  EXPECT_EQ(scheduler.uptime(), 3s);
}

}  // namespace
}  // namespace tessel::test
