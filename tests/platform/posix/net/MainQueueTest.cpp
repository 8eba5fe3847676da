#include <atomic>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <thread>

#include "platform/posix/net/NetServices.h"
#include "tessel/MainQueue.h"
#include "tessel/OperationQueue.h"
#include "tests/support/Eventually.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;

// The main queue is one for the process: each test leaves it empty.
class MainQueueTest : public testing::Test {
 protected:
  ~MainQueueTest() override { drainMainQueue(); }

  static bool isReadable(std::chrono::milliseconds wait = 0ms) {
    pollfd watched{mainQueueFileDescriptor(), POLLIN, 0};
    return poll(&watched, 1, static_cast<int>(wait.count())) == 1;
  }

  std::shared_ptr<platform::Queues> queues_ = platform::makeQueues();
  std::shared_ptr<platform::SerialQueue> main_ = queues_->mainQueue();
  std::string ran_;
};

TEST_F(MainQueueTest, RunsItsTasksInOrderOnTheCallingThread) {
  const auto here = std::this_thread::get_id();
  for (const char name : std::string{"abc"}) {
    main_->async([this, name, here] {
      ran_ += name;
      EXPECT_EQ(std::this_thread::get_id(), here);
      EXPECT_TRUE(main_->isCurrent());
    });
  }
  main_->async([] { stopMainQueue(); });
  EXPECT_EQ(ran_, "");
  runMainQueue();
  EXPECT_EQ(ran_, "abc");
  EXPECT_FALSE(main_->isCurrent());
}

TEST_F(MainQueueTest, RunWaitsForTasksOfOtherThreads) {
  const auto other = queues_->makeSerialQueue("other");
  other->async([&] {
    main_->async([&] {
      ran_ += "first ";
      other->async([&] {
        main_->async([&] {
          ran_ += "second";
          stopMainQueue();
        });
      });
    });
  });
  runMainQueue();
  EXPECT_EQ(ran_, "first second");
}

TEST_F(MainQueueTest, AStopTakesEffectOnceTheTaskHasFinished) {
  main_->async([&] {
    stopMainQueue();
    ran_ += "whole ";
  });
  main_->async([&] { ran_ += "kept"; });
  runMainQueue();
  EXPECT_EQ(ran_, "whole ");
  drainMainQueue();
  EXPECT_EQ(ran_, "whole kept");
}

TEST_F(MainQueueTest, AStopBeforeTheRunEndsTheNextRunOnly) {
  main_->async([&] { ran_ += "later"; });
  stopMainQueue();
  runMainQueue();
  EXPECT_EQ(ran_, "");
  main_->async([] { stopMainQueue(); });
  runMainQueue();
  EXPECT_EQ(ran_, "later");
}

TEST_F(MainQueueTest, AStopMayComeFromASignalHandler) {
  static std::atomic<bool> stopped{false};
  struct sigaction action {};
  action.sa_handler = [](int) {
    if (!stopped.exchange(true)) stopMainQueue();
  };
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  // More than once: the thread sanitizer puts a handler off until the thread returns from its next
  // call of the system, which is the wait that the handler is to end, and another signal does.
  std::thread other{[self = pthread_self()] {
    while (!stopped) {
      pthread_kill(self, SIGUSR1);
      std::this_thread::sleep_for(1ms);
    }
  }};
  runMainQueue();
  other.join();
  std::signal(SIGUSR1, SIG_DFL);
}

TEST_F(MainQueueTest, AStopMayComeFromAnyThread) {
  const auto other = queues_->makeSerialQueue("other");
  main_->async([&] { other->async([] { stopMainQueue(); }); });
  runMainQueue();
}

TEST_F(MainQueueTest, TheDescriptorIsReadableWhileThereIsSomethingToRun) {
  EXPECT_FALSE(isReadable());
  main_->async([&] { ran_ += "a"; });
  main_->async([&] { ran_ += "b"; });
  EXPECT_TRUE(isReadable());
  drainMainQueue();
  EXPECT_EQ(ran_, "ab");
  EXPECT_FALSE(isReadable());
}

TEST_F(MainQueueTest, ADrainedQueueDoesNotWait) {
  drainMainQueue();
  EXPECT_FALSE(isReadable());
}

TEST_F(MainQueueTest, WhatADrainAddsIsLeftForTheNext) {
  main_->async([&] {
    ran_ += "now ";
    main_->async([&] { ran_ += "then"; });
  });
  drainMainQueue();
  EXPECT_EQ(ran_, "now ");
  EXPECT_TRUE(isReadable());
  drainMainQueue();
  EXPECT_EQ(ran_, "now then");
}

TEST_F(MainQueueTest, AStopDoesNotMakeTheDescriptorReadable) {
  EXPECT_FALSE(isReadable());
  stopMainQueue();
  EXPECT_FALSE(isReadable());
  runMainQueue();  // takes the stop
}

TEST_F(MainQueueTest, ADescriptorAskedForLateKnowsOfEarlierTasks) {
  main_->async([&] { ran_ += "early"; });
  EXPECT_TRUE(isReadable());
  drainMainQueue();
  EXPECT_EQ(ran_, "early");
}

TEST_F(MainQueueTest, ATimerWakesAHostThatOnlyPolls) {
  int ticks = 0;
  const auto timer = queues_->makeTimer(main_, 1ms, 1ms, [&] {
    EXPECT_TRUE(main_->isCurrent());
    ++ticks;
  });
  timer->resume();
  while (ticks < 3) {
    ASSERT_TRUE(isReadable(10s));
    drainMainQueue();
  }
  timer->cancel();
  const int atCancel = ticks;
  drainMainQueue();
  EXPECT_EQ(ticks, atCancel);
}

TEST_F(MainQueueTest, ATimerTicksWhileTheQueueRuns) {
  int ticks = 0;
  std::shared_ptr<platform::Timer> timer;
  timer = queues_->makeTimer(main_, 1ms, 1ms, [&] {
    if (++ticks == 3) stopMainQueue();
  });
  timer->resume();
  runMainQueue();
  EXPECT_EQ(ticks, 3);
}

// Ticks do not pile up in front of a host that is busy elsewhere.
TEST_F(MainQueueTest, TicksThatTheHostDidNotFetchAreMerged) {
  int ticks = 0;
  const auto timer = queues_->makeTimer(main_, 1ms, 1ms, [&] { ++ticks; });
  timer->resume();
  ASSERT_TRUE(isReadable(10s));
  const auto end = std::chrono::steady_clock::now() + 20ms;
  while (std::chrono::steady_clock::now() < end) std::this_thread::yield();
  drainMainQueue();
  EXPECT_EQ(ticks, 1);
}

TEST_F(MainQueueTest, ATaskIsLetGoAsItEnds) {
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watched = captured;
  main_->async([captured = std::move(captured)] {});
  main_->async([&] { ran_ = watched.expired() ? "gone" : "held"; });
  drainMainQueue();
  EXPECT_EQ(ran_, "gone");
}

TEST_F(MainQueueTest, IsTheOneThatHostsGet) {
  OperationQueue::mainQueue()->addOperation([&] { ran_ += "host"; });
  drainMainQueue();
  EXPECT_EQ(ran_, "host");
}

}  // namespace
}  // namespace tessel::test
