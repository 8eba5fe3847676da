#include <gtest/gtest.h>

#include "apps/tessel-hub/http/ReceiverApplication.h"

namespace tessel::hub {
namespace {

using namespace std::chrono_literals;
using State = ReceiverApplication::State;

const ReceiverApplication::Time kStart{1h};

TEST(ReceiverApplicationTest, RunsFromItsLaunchToTheSessionsEnd) {
  ReceiverApplication application;
  EXPECT_EQ(application.state(kStart), State::kStopped);
  const auto launch = application.launch("10.0.0.1", kStart);
  ASSERT_TRUE(launch);
  EXPECT_EQ(application.state(kStart), State::kLaunched);
  EXPECT_TRUE(application.runs(launch->instance, kStart));
  EXPECT_TRUE(application.beginCasting("10.0.0.1", kStart + 3s));
  EXPECT_EQ(application.state(kStart + 1h), State::kCasting);
  EXPECT_TRUE(application.runs(launch->instance, kStart + 1h));
  application.end();
  EXPECT_EQ(application.state(kStart + 1h), State::kStopped);
  EXPECT_FALSE(application.runs(launch->instance, kStart + 1h));
}

TEST(ReceiverApplicationTest, ASecondSenderIsRefusedWhileTheFirstOneHasIt) {
  ReceiverApplication application;
  ASSERT_TRUE(application.launch("10.0.0.1", kStart));
  EXPECT_FALSE(application.launch("10.0.0.2", kStart));
  EXPECT_FALSE(application.beginCasting("10.0.0.2", kStart));
  ASSERT_TRUE(application.beginCasting("10.0.0.1", kStart));
  EXPECT_FALSE(application.launch("10.0.0.1", kStart));
  EXPECT_FALSE(application.beginCasting("10.0.0.1", kStart));
}

TEST(ReceiverApplicationTest, ASenderMayLaunchAgainBeforeItCasts) {
  ReceiverApplication application;
  const auto first = application.launch("10.0.0.1", kStart);
  const auto second = application.launch("10.0.0.1", kStart + 1s);
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->instance, second->instance);
  EXPECT_FALSE(application.runs(first->instance, kStart + 1s));
  EXPECT_TRUE(application.runs(second->instance, kStart + 1s));
}

TEST(ReceiverApplicationTest, ALaunchWithoutACastExpires) {
  ReceiverApplication application;
  ASSERT_TRUE(application.launch("10.0.0.1", kStart));
  EXPECT_EQ(application.state(kStart + 29s), State::kLaunched);
  EXPECT_EQ(application.state(kStart + 30s), State::kStopped);
  EXPECT_TRUE(application.launch("10.0.0.2", kStart + 30s));
}

TEST(ReceiverApplicationTest, ASenderThatLaunchedNothingMayCastWhileTheApplicationIsFree) {
  ReceiverApplication application;
  EXPECT_TRUE(application.beginCasting("10.0.0.1", kStart));
  EXPECT_FALSE(application.runs("", kStart));
}

TEST(ReceiverApplicationTest, OnlyItsSenderOwnsIt) {
  ReceiverApplication application;
  ASSERT_TRUE(application.launch("10.0.0.1", kStart));
  EXPECT_TRUE(application.belongsTo("10.0.0.1", kStart));
  EXPECT_FALSE(application.belongsTo("10.0.0.2", kStart));
  application.end();
  EXPECT_FALSE(application.belongsTo("10.0.0.1", kStart));
}

}  // namespace
}  // namespace tessel::hub
