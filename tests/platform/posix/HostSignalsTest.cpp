#include <gtest/gtest.h>

#include "platform/linux/dbus/EventThread.h"
#include "platform/posix/HostSignals.h"
#include "tests/support/Eventually.h"
#include "tests/support/ThreadSignals.h"

namespace tessel::test {
namespace {

bool blocks(int signal) {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  return sigismember(&mask, signal) == 1;
}

TEST(HostSignalsTest, TheStartingThreadHasItsMaskBackAfterwards) {
  {
    const platform::HostSignalsBlocked blocked;
    EXPECT_TRUE(blocks(SIGINT));
    EXPECT_FALSE(blocks(SIGSEGV));
  }
  EXPECT_FALSE(blocks(SIGINT));
}

TEST(HostSignalsTest, TheyStayOffAThreadThatWaitsForEvents) {
  platform::EventThread thread;
  thread.start("tessel.events");
  Eventually<bool> runs;
  thread.post([&] { runs.set(true); });
  ASSERT_TRUE(runs.becomesEqual(true));
  EXPECT_EQ(keepsHostSignalsOff("tessel.events"), true);
  EXPECT_FALSE(blocks(SIGINT));
}

}  // namespace
}  // namespace tessel::test
