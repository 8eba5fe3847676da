#include <gmock/gmock.h>

#include "wire/ChannelCommand.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

TEST(ChannelCommandTest, OpeningsAreTheirConstants) {
  EXPECT_THAT(kOldStartCommand, ElementsAre(4, 0, 0, 0));
  EXPECT_THAT(kNewStartCommand, ElementsAre(0, 0, 0, 0, 1, 0, 0, 0, 0));
  EXPECT_THAT(kKeyboardOpening, ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 0));
  EXPECT_THAT(kMouseOpening, ElementsAre(2, 0, 0, 0, 1, 0, 0, 0, 0));
}

TEST(ChannelCommandTest, MouseHandshakeIsItsConstants) {
  EXPECT_THAT(kCursorCommand, ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 1, 1));
  EXPECT_THAT(kCursorReply, ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 2, 1));
  EXPECT_THAT(kCaptureCommand, ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 3, 1));
  EXPECT_THAT(kCaptureReply, ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 4, 1));
}

}  // namespace
}  // namespace tessel::test
