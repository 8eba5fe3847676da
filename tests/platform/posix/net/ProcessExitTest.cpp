#include <cstdlib>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <memory>

#include "platform/posix/net/NetServices.h"

// The process exits in a child of the test: what that wrote tells what its queues still did.
namespace tessel::test {
namespace {

using platform::SerialQueue;

class ProcessExitTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

std::shared_ptr<SerialQueue> makeQueue() { return platform::makeQueues()->makeSerialQueue("exit"); }

// Both ends of a task that runs when the exit begins.
std::promise<void>& taskRuns = *new std::promise<void>;
std::promise<void>& exitHasBegun = *new std::promise<void>;

TEST_F(ProcessExitTest, WaitsForTheTaskThatRuns) {
  EXPECT_EXIT(
      {
        const auto queue = makeQueue();
        std::atexit([] { exitHasBegun.set_value(); });
        queue->async([] {
          taskRuns.set_value();
          exitHasBegun.get_future().wait();
          std::cerr << "the task ended\n";
        });
        taskRuns.get_future().wait();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "the task ended");
}

TEST_F(ProcessExitTest, DoesNotWaitForAQueueThatIsNeverEmpty) {
  EXPECT_EXIT(
      {
        const auto queue = makeQueue();
        std::atexit([] { exitHasBegun.set_value(); });
        queue->async([queue] {
          taskRuns.set_value();
          exitHasBegun.get_future().wait();
          auto again = std::make_shared<std::function<void()>>();
          *again = [queue, again] { queue->async(*again); };
          (*again)();
        });
        taskRuns.get_future().wait();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(ProcessExitTest, MayBeCalledByATask) {
  EXPECT_EXIT(
      {
        const auto queue = makeQueue();
        queue->async([] { std::exit(3); });
        std::promise<void>{}.get_future().wait();
      },
      testing::ExitedWithCode(3), "");
}

TEST_F(ProcessExitTest, DoesNotHangOnATaskThatWaitsForIt) {
  EXPECT_EXIT(
      {
        const auto queue = makeQueue();
        queue->async([] {
          taskRuns.set_value();
          std::promise<void>{}.get_future().wait();
        });
        taskRuns.get_future().wait();
        std::exit(4);
      },
      testing::ExitedWithCode(4), "");
}

}  // namespace
}  // namespace tessel::test
