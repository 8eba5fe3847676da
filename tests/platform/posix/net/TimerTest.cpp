#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "platform/posix/net/NetServices.h"
#include "tests/support/Eventually.h"

namespace tessel::test {
namespace {

using platform::Timer;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

class TimerTest : public testing::Test {
 protected:
  // A timer whose handler has ended for good once this is gone, so that it may use what the test
  // declared before.
  class Running {
   public:
    Running(TimerTest& test, std::shared_ptr<Timer> timer)
        : test_{test}, timer_{std::move(timer)} {}
    ~Running() {
      timer_.reset();
      test_.passQueue();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    Timer* operator->() const { return timer_.get(); }
    void drop() { timer_.reset(); }

   private:
    TimerTest& test_;
    std::shared_ptr<Timer> timer_;
  };

  Running makeTimer(platform::Clock::Duration first, platform::Clock::Duration period,
                    std::function<void()> handler) {
    return {*this, queues_->makeTimer(queue_, first, period, std::move(handler))};
  }

  std::function<void()> count() {
    return [this] { ticks_.update([](int& ticks) { ++ticks; }); };
  }

  // Until the queue has done everything that was ready before.
  void passQueue() {
    Eventually<bool> passed;
    queue_->async([&] { queue_->async([&] { passed.set(true); }); });
    ASSERT_TRUE(passed.becomesEqual(true));
  }

  // A busy wait: what comes due meanwhile is due for certain at the end.
  static void letPass(platform::Clock::Duration duration) {
    const auto end = steady_clock::now() + duration;
    while (steady_clock::now() < end) std::this_thread::yield();
  }

  std::shared_ptr<platform::Queues> queues_ = platform::makeQueues();
  std::shared_ptr<platform::SerialQueue> queue_ = queues_->makeSerialQueue("timer");
  Eventually<int> ticks_;
};

TEST_F(TimerTest, TicksAgainAndAgainOnItsQueue) {
  Eventually<int> onQueue;
  const auto timer = makeTimer(
      1ms, 1ms, [&] { onQueue.update([&](int& ticks) { ticks += queue_->isCurrent() ? 1 : 0; }); });
  timer->resume();
  EXPECT_TRUE(onQueue.becomes([](int ticks) { return ticks >= 5; }));
}

TEST_F(TimerTest, NeverTicksBeforeItIsDue) {
  Eventually<std::vector<steady_clock::time_point>> moments;
  const auto timer = makeTimer(
      30ms, 20ms, [&] { moments.update([](auto& all) { all.push_back(steady_clock::now()); }); });
  letPass(40ms);  // its time begins with the resume
  const auto resumed = steady_clock::now();
  timer->resume();
  ASSERT_TRUE(moments.becomes([](const auto& all) { return all.size() >= 3; }));
  const auto all = moments.get();
  EXPECT_GE(all[0] - resumed, 30ms);
  EXPECT_GE(all[1] - resumed, 50ms);
  EXPECT_GE(all[2] - resumed, 70ms);
}

TEST_F(TimerTest, ALaterResumeKeepsTheMomentsOfTheFirst) {
  Eventually<std::vector<steady_clock::time_point>> moments;
  const auto timer = makeTimer(
      1s, 1h, [&] { moments.update([](auto& all) { all.push_back(steady_clock::now()); }); });
  timer->resume();
  timer->suspend();
  std::this_thread::sleep_for(900ms);
  const auto resumed = steady_clock::now();
  timer->resume();
  ASSERT_TRUE(moments.becomes([](const auto& all) { return all.size() == 1; }));
  EXPECT_LT(moments.get()[0] - resumed, 900ms) << "100 ms are left";
}

// Were the next tick counted from the end of the last one, tick k would come after k times period
// and handler together. A busy machine makes ticks late, but soon one comes before that.
TEST_F(TimerTest, DoesNotDrift) {
  constexpr auto kPeriod = 100ms;
  constexpr auto kHandler = 50ms;
  Eventually<bool> ahead;
  int count = 0;
  const auto made = steady_clock::now();
  const auto timer = makeTimer(0ms, kPeriod, [&] {
    const auto passed = steady_clock::now() - made;
    ahead.update([&](bool& yes) { yes |= passed < count * (kPeriod + kHandler) - kHandler; });
    ++count;
    letPass(kHandler);
  });
  timer->resume();
  EXPECT_TRUE(ahead.becomesEqual(true));
}

TEST_F(TimerTest, IsMadeSuspended) {
  const auto timer = makeTimer(0ms, 1ms, count());
  letPass(5ms);
  passQueue();
  EXPECT_EQ(ticks_.get(), 0);
}

TEST_F(TimerTest, WhatComesDueWhileSuspendedComesOnceAtTheResume) {
  const auto timer = makeTimer(1ms, 1h, count());
  timer->resume();
  timer->suspend();
  letPass(2ms);
  timer->resume();
  EXPECT_TRUE(ticks_.becomesEqual(1));
}

TEST_F(TimerTest, SeveralTicksMissedWhileSuspendedAreOne) {
  Timer* itself = nullptr;
  const auto timer = makeTimer(1ms, 1ms, [this, &itself] {
    itself->suspend();
    ticks_.update([](int& ticks) { ++ticks; });
  });
  itself = timer.operator->();
  letPass(20ms);
  timer->resume();
  ASSERT_TRUE(ticks_.becomesEqual(1));
  passQueue();
  letPass(5ms);
  passQueue();
  EXPECT_EQ(ticks_.get(), 1) << "suspended by its own handler";
  timer->resume();
  EXPECT_TRUE(ticks_.becomesEqual(2));
}

TEST_F(TimerTest, TicksThatComeDueWhileTheHandlerRunsAreMerged) {
  Eventually<std::vector<steady_clock::time_point>> began;
  const auto made = steady_clock::now();  // the grid begins here or later
  const auto timer = makeTimer(0ms, 10ms, [&] {
    bool first = false;
    began.update([&](auto& all) {
      all.push_back(steady_clock::now());
      first = all.size() == 1;
    });
    if (first) letPass(45ms);  // four more come due
  });
  timer->resume();
  ASSERT_TRUE(began.becomes([](const auto& all) { return all.size() >= 3; }));
  const auto all = began.get();
  EXPECT_GE(all[1] - all[0], 45ms);
  // The merged tick is late; the one after it is back on the grid, at 50 ms or later.
  EXPECT_GE(all[2] - made, 50ms);
}

TEST_F(TimerTest, ResumingTwiceDoesNotTickTwice) {
  const auto timer = makeTimer(1ms, 1h, count());
  timer->resume();
  timer->resume();
  timer->suspend();
  timer->resume();
  ASSERT_TRUE(ticks_.becomesEqual(1));
  timer->suspend();
  timer->resume();
  passQueue();
  EXPECT_EQ(ticks_.get(), 1);
}

TEST_F(TimerTest, NoTickBeginsAfterACancelOnItsQueue) {
  const auto timer = makeTimer(0ms, 1ms, count());
  timer->resume();
  ASSERT_TRUE(ticks_.becomes([](int ticks) { return ticks >= 1; }));
  Eventually<int> atCancel{-1};
  queue_->async([&] {
    letPass(3ms);  // a tick is due by now
    timer->cancel();
    atCancel.set(ticks_.get());
  });
  ASSERT_TRUE(atCancel.becomes([](int ticks) { return ticks >= 0; }));
  timer->resume();
  letPass(5ms);
  passQueue();
  EXPECT_EQ(ticks_.get(), atCancel.get());
}

TEST_F(TimerTest, ACancelByItsOwnHandlerIsTheLastTick) {
  Timer* itself = nullptr;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watched = captured;
  const auto timer = makeTimer(0ms, 1ms, [this, &itself, captured = std::move(captured)] {
    itself->cancel();
    ticks_.update([](int& ticks) { ++ticks; });
    EXPECT_NE(captured, nullptr) << "held until the handler ends";
  });
  itself = timer.operator->();
  timer->resume();
  ASSERT_TRUE(ticks_.becomesEqual(1));
  passQueue();
  EXPECT_EQ(ticks_.get(), 1);
  EXPECT_TRUE(watched.expired()) << "let go at its end";
}

TEST_F(TimerTest, ACancelLetsTheHandlerGo) {
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watched = captured;
  const auto timer = makeTimer(1h, 1h, [captured = std::move(captured)] {});
  timer->resume();
  timer->cancel();
  EXPECT_TRUE(watched.expired());
}

TEST_F(TimerTest, DroppingItCancels) {
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watched = captured;
  auto timer = makeTimer(0ms, 1h, [captured = std::move(captured)] {});
  timer.drop();
  EXPECT_TRUE(watched.expired());
}

TEST_F(TimerTest, MayBeDroppedByItsOwnHandler) {
  std::shared_ptr<Timer> timer;
  timer = queues_->makeTimer(queue_, 0ms, 1ms, [this, &timer] {
    timer.reset();
    ticks_.update([](int& ticks) { ++ticks; });
  });
  // On the queue, where no tick can come before `timer` is set.
  queue_->async([&timer] { timer->resume(); });
  ASSERT_TRUE(ticks_.becomesEqual(1));
  passQueue();
  EXPECT_EQ(ticks_.get(), 1);
}

TEST_F(TimerTest, KeepsItsQueueUntilItIsCancelled) {
  const std::weak_ptr<platform::SerialQueue> watched = queue_;
  const auto timer = makeTimer(1ms, 1ms, count());
  queue_.reset();
  queue_ = watched.lock();
  ASSERT_NE(queue_, nullptr);
  timer->resume();
  EXPECT_TRUE(ticks_.becomes([](int ticks) { return ticks >= 2; }));
}

TEST_F(TimerTest, APeriodOfNothingStillLetsOtherTasksRun) {
  const auto timer = makeTimer(0ms, 0ms, count());
  timer->resume();
  ASSERT_TRUE(ticks_.becomes([](int ticks) { return ticks >= 3; }));
  passQueue();
  timer->cancel();
}

}  // namespace
}  // namespace tessel::test
