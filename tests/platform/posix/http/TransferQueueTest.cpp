#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/posix/http/TransferQueue.h"

namespace tessel::platform {
namespace {

using ::testing::ElementsAre;

using Queue = TransferQueue<std::string>;

bool add(Queue& queue, const std::string& server, const std::string& name) {
  auto transfer = std::make_unique<std::string>(name);
  return queue.add(server, transfer);
}

std::vector<std::string> startAll(Queue& queue) {
  std::vector<std::string> started;
  while (const auto transfer = queue.next()) started.push_back(*transfer);
  return started;
}

TEST(TransferQueueTest, TransfersStartInTheOrderTheyCame) {
  Queue queue;
  add(queue, "a", "1");
  add(queue, "b", "2");
  add(queue, "a", "3");
  EXPECT_THAT(startAll(queue), ElementsAre("1", "2", "3"));
}

TEST(TransferQueueTest, SixOfOneServerRunAtOnceAndTheOthersPassIt) {
  Queue queue;
  for (const char* name : {"1", "2", "3", "4", "5", "6", "7", "8"}) add(queue, "dead", name);
  add(queue, "alive", "9");
  EXPECT_THAT(startAll(queue), ElementsAre("1", "9", "2", "3", "4", "5", "6"));
  queue.ended("dead");
  EXPECT_THAT(startAll(queue), ElementsAre("7"));
}

// Fills every place: sixteen servers with six transfers each, and as many waiting.
void fill(Queue& queue) {
  for (int server = 0; server < 16; ++server) {
    for (int i = 0; i < 12; ++i) add(queue, "dead " + std::to_string(server), "dead");
  }
  EXPECT_THAT(startAll(queue), testing::SizeIs(Queue::kMaxRunning));
}

TEST(TransferQueueTest, FifteenServersThatNeverAnswerLeaveRoomForAnother) {
  Queue queue;
  for (int server = 0; server < 15; ++server) {
    for (int i = 0; i < 16; ++i) add(queue, "dead " + std::to_string(server), "dead");
  }
  EXPECT_THAT(startAll(queue), testing::SizeIs(15U * Queue::kMaxRunningPerServer));
  for (int i = 0; i < 8; ++i) add(queue, "alive", "alive");
  EXPECT_THAT(startAll(queue), testing::SizeIs(Queue::kMaxRunningPerServer));
}

TEST(TransferQueueTest, AFreePlaceGoesToTheServerThatHasLeastRunning) {
  Queue queue;
  fill(queue);
  add(queue, "alive", "alive");
  queue.ended("dead 0");
  EXPECT_THAT(startAll(queue), ElementsAre("alive"));
}

TEST(TransferQueueTest, AServerJustServedGoesBehindTheOthers) {
  Queue queue;
  fill(queue);
  for (const char* server : {"a", "b"}) {
    for (const char* round : {" first", " second"}) add(queue, server, std::string{server} + round);
  }
  for (int i = 0; i < 2; ++i) queue.ended("dead 0");
  EXPECT_THAT(startAll(queue), ElementsAre("a first", "b first"));
  queue.ended("b");
  queue.ended("a");
  EXPECT_THAT(startAll(queue), ElementsAre("b second", "a second"));
}

TEST(TransferQueueTest, OneServerCannotFillTheQueue) {
  Queue queue;
  for (int i = 0; i < 16; ++i) EXPECT_TRUE(add(queue, "a", "x"));
  auto transfer = std::make_unique<std::string>("one too many");
  EXPECT_FALSE(queue.add("a", transfer));
  ASSERT_TRUE(transfer);
  EXPECT_EQ(*transfer, "one too many");
  EXPECT_TRUE(add(queue, "b", "x"));
  queue.next();
  EXPECT_TRUE(add(queue, "a", "x"));
}

TEST(TransferQueueTest, TheQueueHasAnEnd) {
  Queue queue;
  for (std::size_t i = 0; i < Queue::kMaxWaiting; ++i)
    EXPECT_TRUE(add(queue, std::to_string(i), "x"));
  EXPECT_FALSE(add(queue, "another", "x"));
}

TEST(TransferQueueTest, NothingIsRememberedOfAServerThatIsRefusedOrDone) {
  Queue queue;
  for (std::size_t i = 0; i < Queue::kMaxWaiting; ++i)
    add(queue, "a" + std::to_string(i % 64), "x");
  ASSERT_EQ(queue.servers(), 64U);
  for (int i = 0; i < 100; ++i) EXPECT_FALSE(add(queue, "b" + std::to_string(i), "x"));
  EXPECT_EQ(queue.servers(), 64U);
  for (std::size_t i = 0; i < Queue::kMaxWaiting; ++i) {
    ASSERT_TRUE(queue.next());
    queue.ended("a" + std::to_string(i % 64));
  }
  EXPECT_EQ(queue.servers(), 0U);
}

}  // namespace
}  // namespace tessel::platform
