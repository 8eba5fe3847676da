#include <gtest/gtest.h>
#include <thread>

#include "apps/common/ThreadChecker.h"

namespace tessel::apps {
namespace {

TEST(ThreadCheckerTest, TheFirstThreadThatAsksIsTheOne) {
  const ThreadChecker checker;
  std::thread{[&checker] { EXPECT_TRUE(checker.isCurrent()); }}.join();
  EXPECT_FALSE(checker.isCurrent());
}

TEST(ThreadCheckerTest, AThreadMayAskAgain) {
  const ThreadChecker checker;
  EXPECT_TRUE(checker.isCurrent());
  EXPECT_TRUE(checker.isCurrent());
}

}  // namespace
}  // namespace tessel::apps
