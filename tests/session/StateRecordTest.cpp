#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

#include "session/StateRecord.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

// Runs nothing by itself; keeps what is added.
class HoldingQueue final : public OperationQueue {
 public:
  void addOperation(std::function<void()> operation) override {
    if (onAdd) onAdd();
    const platform::MutexLock lock{mutex_};
    operations_.push_back(std::move(operation));
  }

  void runAll() {
    const platform::MutexLock lock{mutex_};
    for (const auto& operation : operations_) operation();
  }

  std::function<void()> onAdd;

 private:
  platform::Mutex mutex_;
  std::vector<std::function<void()>> operations_ TESSEL_GUARDED_BY(mutex_);
};

class StateRecordTest : public testing::Test {
 protected:
  DelegateCall telling(std::int64_t value) {
    return {queue, [this, value] { told.push_back(value); }};
  }

  StateRecord record{0};
  std::shared_ptr<HoldingQueue> queue = std::make_shared<HoldingQueue>();
  std::vector<std::int64_t> told;
};

TEST_F(StateRecordTest, ADifferentValueIsStoredAndItsCallEnqueued) {
  EXPECT_TRUE(record.change(std::nullopt, 1, telling(1)));
  EXPECT_EQ(record.value(), 1);
  record.deliver();
  queue->runAll();
  EXPECT_THAT(told, ElementsAre(1));
}

TEST_F(StateRecordTest, TheSameValueIsNoChange) {
  EXPECT_FALSE(record.change(std::nullopt, 0, telling(0)));
  record.deliver();
  queue->runAll();
  EXPECT_THAT(told, ElementsAre());
}

TEST_F(StateRecordTest, AChangeFromAnotherValueThanExpectedIsNone) {
  EXPECT_FALSE(record.change(2, 1, telling(1)));
  EXPECT_EQ(record.value(), 0);
  EXPECT_TRUE(record.change(0, 1, telling(1)));
}

TEST_F(StateRecordTest, CallsWithoutAQueueAreLeftToTheCaller) {
  EXPECT_TRUE(record.change(std::nullopt, 1, {nullptr, [this] { told.push_back(1); }}));
  record.enqueue({nullptr, [this] { told.push_back(2); }});
  record.deliver();
  EXPECT_THAT(told, ElementsAre());
}

TEST_F(StateRecordTest, WhatIsEnqueuedWhileAQueueIsCalledComesBehind) {
  queue->onAdd = [this] {
    queue->onAdd = nullptr;
    record.change(std::nullopt, 2, telling(2));
    record.deliver();
  };
  record.change(std::nullopt, 1, telling(1));
  record.deliver();
  queue->runAll();
  EXPECT_THAT(told, ElementsAre(1, 2));
}

TEST_F(StateRecordTest, AQueueThatThrowsLosesThatCallAndGetsTheNextOnes) {
  queue->onAdd = [this] {
    queue->onAdd = nullptr;
    throw std::runtime_error{"the host's loop has ended"};
  };
  record.change(std::nullopt, 1, telling(1));
  record.enqueue(telling(10));
  EXPECT_NO_THROW(record.deliver());
  record.change(std::nullopt, 2, telling(2));
  EXPECT_NO_THROW(record.deliver());
  queue->runAll();
  EXPECT_THAT(told, ElementsAre(10, 2));
}

// In any interleaving the last call reports the state in force, and no two in a row are equal.
TEST_F(StateRecordTest, TheQueueGetsTheChangesOfRacingThreadsInTheirOrder) {
  const auto flip = [this](std::int64_t from, std::int64_t to) {
    for (int i = 0; i < 2000; ++i) {
      record.change(from, to, telling(to));
      record.deliver();
    }
  };
  std::thread up{flip, 0, 1};
  std::thread down{flip, 1, 0};
  up.join();
  down.join();
  queue->runAll();
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back(), record.value());
  EXPECT_EQ(std::ranges::adjacent_find(told), told.end());
}

}  // namespace
}  // namespace tessel::test
