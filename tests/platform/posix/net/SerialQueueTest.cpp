#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/net/NetServices.h"
#include "tests/support/Eventually.h"

namespace tessel::test {
namespace {

using platform::SerialQueue;

class SerialQueueTest : public testing::Test {
 protected:
  std::shared_ptr<platform::Queues> queues_ = platform::makeQueues();
};

std::string threadName() {
  std::array<char, 16> name{};
  pthread_getname_np(pthread_self(), name.data(), name.size());
  return name.data();
}

TEST_F(SerialQueueTest, TasksRunInTheOrderGiven) {
  constexpr int kTasks = 10000;
  Eventually<std::vector<int>> ran;
  const auto queue = queues_->makeSerialQueue("order");
  for (int i = 0; i < kTasks; ++i) {
    queue->async([&ran, i] { ran.update([i](auto& all) { all.push_back(i); }); });
  }
  ASSERT_TRUE(ran.becomes([](const auto& all) { return all.size() == kTasks; }));
  std::vector<int> expected(kTasks);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(ran.get(), expected);
}

// A task added by a task comes after one that another thread added in between.
TEST_F(SerialQueueTest, TasksOfSeveralThreadsKeepTheirOrder) {
  Eventually<std::string> ran;
  const auto queue = queues_->makeSerialQueue("order");
  const auto add = [&ran](const std::string& name) {
    ran.update([&](std::string& all) { all += name; });
  };
  queue->async([&] {
    queue->async([&] { add("a"); });
    std::thread{[&] { queue->async([&] { add("b"); }); }}.join();
    queue->async([&] { add("c"); });
  });
  EXPECT_TRUE(ran.becomesEqual("abc"));
}

TEST_F(SerialQueueTest, ATaskNeverRunsBeforeAsyncReturns) {
  Eventually<std::string> ran;
  const auto queue = queues_->makeSerialQueue("later");
  queue->async([&] {
    queue->async([&] { ran.update([](std::string& all) { all += "inner"; }); });
    ran.update([](std::string& all) { all += "outer "; });
  });
  EXPECT_TRUE(ran.becomesEqual("outer inner"));
}

TEST_F(SerialQueueTest, IsCurrentOnlyWhileATaskOfTheSameQueueRuns) {
  const auto queue = queues_->makeSerialQueue("one");
  const auto other = queues_->makeSerialQueue("other");
  Eventually<std::vector<bool>> seen;
  queue->async([&] { seen.set({queue->isCurrent(), other->isCurrent()}); });
  EXPECT_TRUE(seen.becomesEqual({true, false}));
  EXPECT_FALSE(queue->isCurrent());
}

TEST_F(SerialQueueTest, ThreadBearsTheLabelAsFarAsThereIsRoom) {
  for (const std::string label : {"short", "fifteen letters", "Mouse Dispatch Queue", ""}) {
    const auto queue = queues_->makeSerialQueue(label);
    EXPECT_EQ(queue->label(), label);
    Eventually<std::string> name{"none"};
    queue->async([&] { name.set(threadName()); });
    EXPECT_TRUE(name.becomesEqual(label.substr(0, 15))) << label;
  }
}

TEST_F(SerialQueueTest, TasksQueuedBeforeTheLastReferenceIsDroppedStillRun) {
  Eventually<int> ran;
  auto queue = queues_->makeSerialQueue("drop");
  for (int i = 0; i < 1000; ++i) {
    queue->async([&] { ran.update([](int& count) { ++count; }); });
  }
  queue.reset();
  EXPECT_TRUE(ran.becomesEqual(1000));
}

TEST_F(SerialQueueTest, LastReferenceMayBeDroppedByATaskOfTheQueue) {
  Eventually<bool> dropped;
  auto holder = std::make_shared<std::shared_ptr<SerialQueue>>(queues_->makeSerialQueue("drop"));
  const std::weak_ptr<SerialQueue> watched = *holder;
  SerialQueue& queue = **holder;
  queue.async([&dropped, watched, holder = std::move(holder)] {
    holder->reset();
    dropped.set(watched.expired());
  });
  EXPECT_TRUE(dropped.becomesEqual(true));
}

TEST_F(SerialQueueTest, ATaskIsLetGoAsItEndsNotWithTheQueue) {
  const auto queue = queues_->makeSerialQueue("let go");
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watched = captured;
  queue->async([captured = std::move(captured)] { EXPECT_NE(captured, nullptr); });
  Eventually<bool> gone;
  queue->async([&] { gone.set(watched.expired()); });
  EXPECT_TRUE(gone.becomesEqual(true));
}

// A host that waits for its signals on a thread of its own must get them there.
TEST_F(SerialQueueTest, TheHostsSignalsStayOffTheQueuesThread) {
  const auto queue = queues_->makeSerialQueue("signals");
  Eventually<std::vector<bool>> blocked;
  queue->async([&] {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    blocked.set({sigismember(&mask, SIGINT) == 1, sigismember(&mask, SIGTERM) == 1,
                 sigismember(&mask, SIGSEGV) == 1});
  });
  EXPECT_TRUE(blocked.becomesEqual({true, true, false}));
  sigset_t mine;
  pthread_sigmask(SIG_SETMASK, nullptr, &mine);
  EXPECT_EQ(sigismember(&mine, SIGINT), 0);
}

TEST_F(SerialQueueTest, AnOperationIsATask) {
  const auto queue = queues_->makeSerialQueue("operation");
  OperationQueue& operations = *queue;
  Eventually<bool> onQueue;
  operations.addOperation([&] { onQueue.set(queue->isCurrent()); });
  EXPECT_TRUE(onQueue.becomesEqual(true));
}

}  // namespace
}  // namespace tessel::test
