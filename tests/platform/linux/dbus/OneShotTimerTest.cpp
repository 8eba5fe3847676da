#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/linux/dbus/OneShotTimer.h"
#include "tests/support/Eventually.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;

// Later than what was armed for at once, however the system merges wake-ups.
constexpr auto kLater = 300ms;

class OneShotTimerTest : public testing::Test {
 protected:
  // Runs on the thread that the timers belong to.
  void run(const std::function<void()>& task) {
    thread.post(task);
    thread.start("tessel.timer");
  }
  void note(const std::string& name) {
    EXPECT_TRUE(thread.isCurrent());
    fired.update([&name](auto& all) { all.push_back(name); });
  }

  Eventually<std::vector<std::string>> fired;
  platform::EventThread thread;
  platform::OneShotTimer timer{thread, [this] {
                                 EXPECT_FALSE(timer.armed());
                                 note("timer");
                                 later.arm(kLater);
                               }};
  platform::OneShotTimer later{thread, [this] { note("later"); }};
};

TEST_F(OneShotTimerTest, ItFiresOnce) {
  run([this] {
    timer.arm(1ms);
    EXPECT_TRUE(timer.armed());
  });
  EXPECT_TRUE(fired.becomesEqual({"timer", "later"}));
  thread.stop();
}

TEST_F(OneShotTimerTest, ArmedAnewItStartsItsWaitAnew) {
  run([this] {
    timer.arm(1ms);
    timer.arm(1h);
    EXPECT_TRUE(timer.armed());
    later.arm(kLater);
  });
  EXPECT_TRUE(fired.becomesEqual({"later"}));
  thread.stop();
}

TEST_F(OneShotTimerTest, DisarmedItDoesNotFire) {
  run([this] {
    timer.arm(1ms);
    timer.disarm();
    EXPECT_FALSE(timer.armed());
    later.arm(kLater);
  });
  EXPECT_TRUE(fired.becomesEqual({"later"}));
  thread.stop();
}

}  // namespace
}  // namespace tessel::test
