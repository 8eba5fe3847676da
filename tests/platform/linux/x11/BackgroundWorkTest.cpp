#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

#include "platform/linux/x11/BackgroundWork.h"
#include "platform/linux/x11/XConnect.h"

namespace tessel::platform {
namespace {

std::atomic<bool> exiting = false;

class BackgroundWorkDeathTest : public testing::Test {
 protected:
  BackgroundWorkDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(BackgroundWorkDeathTest, ProcessThatExitsWaitsForTheWork) {
  EXPECT_EXIT(
      {
        BackgroundWork::shared().run([] {
          while (!exiting) std::this_thread::yield();
          // Longer than the rest of the exit takes.
          std::this_thread::sleep_for(std::chrono::milliseconds{200});
          std::fputs("done", stderr);
        });
        std::atexit([] { exiting = true; });  // called before the wait
        std::exit(0);
      },
      testing::ExitedWithCode(0), "done");
}

TEST_F(BackgroundWorkDeathTest, WorkThatComesAfterTheWaitIsDoneAtOnce) {
  EXPECT_EXIT(
      {
        // Called after the wait.
        std::atexit([] {
          BackgroundWork::shared().run([] {
            std::this_thread::sleep_for(std::chrono::milliseconds{200});
            std::fputs("done", stderr);
          });
        });
        BackgroundWork::shared();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "done");
}

TEST_F(BackgroundWorkDeathTest, ProcessThatExitsDoesNotWaitForEver) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EXIT(
      {
        BackgroundWork::shared().run([] { std::this_thread::sleep_for(std::chrono::hours{1}); });
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_GE(std::chrono::steady_clock::now() - start, kXServerTimeout);
}

}  // namespace
}  // namespace tessel::platform
