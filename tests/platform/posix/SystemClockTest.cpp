#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>

#include "platform/base/Group.h"
#include "platform/posix/SystemClock.h"
#include "platform/posix/net/NetServices.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;

class SystemClockTest : public testing::Test {
 protected:
  std::shared_ptr<platform::Clock> clock_ = platform::makeClock();
  std::shared_ptr<platform::SerialQueue> queue_ = platform::makeQueues()->makeSerialQueue("clock");
};

TEST_F(SystemClockTest, SleepTakesAtLeastItsTime) {
  const auto before = clock_->uptime();
  clock_->sleep(5ms);
  EXPECT_GE(clock_->uptime() - before, 5ms);
}

TEST_F(SystemClockTest, NowIsWallClockTime) {
  const auto before = std::chrono::system_clock::now();
  const Date now = clock_->now();
  EXPECT_GE(now, before);
  EXPECT_LE(now, std::chrono::system_clock::now());
}

TEST_F(SystemClockTest, AWaitWithoutANotificationTimesOut) {
  std::mutex mutex;
  std::condition_variable condition;
  std::unique_lock lock{mutex};
  const auto before = clock_->uptime();
  EXPECT_FALSE(clock_->wait(lock, condition, 5ms, [] { return false; }));
  EXPECT_GE(clock_->uptime() - before, 5ms);
  EXPECT_TRUE(lock.owns_lock());
}

TEST_F(SystemClockTest, AWaitEndsAsSoonAsItsConditionHolds) {
  for (const auto timeout :
       {std::optional<platform::Clock::Duration>{}, {10s}, {platform::Clock::Duration::max()}}) {
    std::mutex mutex;
    std::condition_variable condition;
    bool ready = false;
    queue_->async([&] {
      const std::lock_guard lock{mutex};
      ready = true;
      condition.notify_all();
    });
    std::unique_lock lock{mutex};
    EXPECT_TRUE(clock_->wait(lock, condition, timeout, [&] { return ready; }));
  }
}

TEST_F(SystemClockTest, AGroupIsWaitedForUntilItIsEmpty) {
  platform::Group group{*clock_};
  EXPECT_TRUE(group.wait(0ms)) << "nothing was entered";
  group.enter();
  group.enter();
  EXPECT_FALSE(group.wait(1ms));
  queue_->async([&] { group.leave(); });
  queue_->async([&] { group.leave(); });
  EXPECT_TRUE(group.wait(10s));
  group.leave();
  EXPECT_TRUE(group.wait(0ms)) << "a surplus leave is ignored";
}

TEST_F(SystemClockTest, AConditionKeepsASignalThatCameBeforeTheWait) {
  platform::Condition early{*clock_};
  early.signal();
  early.wait();
  platform::Condition late{*clock_};
  queue_->async([&] { late.signal(); });
  late.wait();
}

}  // namespace
}  // namespace tessel::test
