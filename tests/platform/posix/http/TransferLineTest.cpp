#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/posix/http/TransferLine.h"

namespace tessel::platform {
namespace {

using ::testing::ElementsAre;

struct Line : TransferLine<std::string> {
  explicit Line(std::size_t mostRunningOfOneServer = 2) : TransferLine{mostRunningOfOneServer} {}
};

bool add(Line& line, const std::string& server, const std::string& name) {
  auto transfer = std::make_unique<std::string>(name);
  return line.add(server, transfer);
}

std::vector<std::string> startAll(Line& line) {
  std::vector<std::string> started;
  while (const auto transfer = line.next()) started.push_back(*transfer);
  return started;
}

TEST(TransferLineTest, TransfersStartInTheOrderTheyCame) {
  Line line;
  add(line, "a", "1");
  add(line, "b", "2");
  add(line, "a", "3");
  EXPECT_THAT(startAll(line), ElementsAre("1", "2", "3"));
}

TEST(TransferLineTest, AServerWithItsShareIsPassedByTheOthers) {
  Line line;
  for (const char* name : {"1", "2", "3", "4"}) add(line, "dead", name);
  add(line, "alive", "5");
  EXPECT_THAT(startAll(line), ElementsAre("1", "5", "2"));
  line.ended("dead");
  EXPECT_THAT(startAll(line), ElementsAre("3"));
}

TEST(TransferLineTest, AServersShareMayBeOne) {
  Line line{1};
  for (const char* name : {"1", "2"}) add(line, "a", name);
  EXPECT_THAT(startAll(line), ElementsAre("1"));
  line.ended("a");
  EXPECT_THAT(startAll(line), ElementsAre("2"));
}

TEST(TransferLineTest, AFreePlaceGoesToTheServerThatHasLeastRunning) {
  Line line;
  for (int i = 0; i < 8; ++i) {
    for (const char* name : {"1", "2", "3"}) add(line, "dead " + std::to_string(i), name);
  }
  EXPECT_THAT(startAll(line), testing::SizeIs(16));
  add(line, "alive", "alive");
  line.ended("dead 0");
  EXPECT_THAT(startAll(line), ElementsAre("alive"));
}

TEST(TransferLineTest, AServerJustServedGoesBehindTheOthers) {
  Line line{1};
  for (int i = 0; i < 17; ++i) {
    for (const char* round : {" first", " second"})
      add(line, std::to_string(i), std::to_string(i) + round);
  }
  EXPECT_THAT(startAll(line), testing::SizeIs(16));
  add(line, "newcomer", "newcomer");
  for (const char* server : {"0", "1", "2"}) line.ended(server);
  EXPECT_THAT(startAll(line), ElementsAre("16 first", "newcomer", "0 second"));
}

TEST(TransferLineTest, SixteenRunAtOnce) {
  Line line;
  for (int i = 0; i < 20; ++i) add(line, "server " + std::to_string(i), std::to_string(i));
  EXPECT_THAT(startAll(line), ::testing::SizeIs(16));
  line.ended("server 3");
  line.ended("server 7");
  EXPECT_THAT(startAll(line), ElementsAre("16", "17"));
}

TEST(TransferLineTest, OneServerCannotFillTheLine) {
  Line line;
  for (int i = 0; i < 16; ++i) EXPECT_TRUE(add(line, "a", "x"));
  auto transfer = std::make_unique<std::string>("one too many");
  EXPECT_FALSE(line.add("a", transfer));
  ASSERT_TRUE(transfer);
  EXPECT_EQ(*transfer, "one too many");
  EXPECT_TRUE(add(line, "b", "x"));
  line.next();
  EXPECT_TRUE(add(line, "a", "x"));
}

TEST(TransferLineTest, TheLineHasAnEnd) {
  Line line;
  for (std::size_t i = 0; i < Line::kMostWaiting; ++i)
    EXPECT_TRUE(add(line, std::to_string(i), "x"));
  EXPECT_FALSE(add(line, "another", "x"));
}

TEST(TransferLineTest, NothingIsRememberedOfAServerThatIsRefusedOrDone) {
  Line line;
  for (std::size_t i = 0; i < Line::kMostWaiting; ++i) add(line, "a" + std::to_string(i % 64), "x");
  ASSERT_EQ(line.servers(), 64U);
  for (int i = 0; i < 100; ++i) EXPECT_FALSE(add(line, "b" + std::to_string(i), "x"));
  EXPECT_EQ(line.servers(), 64U);
  for (std::size_t i = 0; i < Line::kMostWaiting; ++i) {
    ASSERT_TRUE(line.next());
    line.ended("a" + std::to_string(i % 64));
  }
  EXPECT_EQ(line.servers(), 0U);
}

}  // namespace
}  // namespace tessel::platform
