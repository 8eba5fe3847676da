#include <gtest/gtest.h>

#include "platform/NetworkConnection.h"

namespace tessel::test {
namespace {

using platform::ContentContext;
using platform::Received;

TEST(ReceivedTest, IsFinalWhenItIsCompleteAndNoContextGoesOn) {
  const auto judged = [](bool complete, std::optional<ContentContext> context) {
    return Received{Bytes{1}, context, complete, std::nullopt}.isFinal();
  };
  EXPECT_TRUE(judged(true, std::nullopt));
  EXPECT_TRUE(judged(true, ContentContext{true}));
  EXPECT_FALSE(judged(true, ContentContext{false}));
  EXPECT_FALSE(judged(false, std::nullopt));
  EXPECT_FALSE(judged(false, ContentContext{true}));
}

}  // namespace
}  // namespace tessel::test
