#include <gmock/gmock.h>

#include "wire/ControlMessages.h"
#include "wire/MessageHeader.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

TEST(ControlMessagesTest, DestroyContextAndContextResponseDifferInTheirCommand) {
  EXPECT_THAT(contextMessage(VSCH_CMD_DESTROY_CONTEXT),
              ElementsAre(12, 0, 0x04, 0, 0, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(contextMessage(VSCH_CMD_CREATE_CONTEXT_RESPONSE),
              ElementsAre(12, 0, 0x81, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(ControlMessagesTest, SimpleControlAndFrameAcknowledgementDifferInTheirCommand) {
  EXPECT_THAT(controlMessage(VSCH_CMD_SIMPLE_CONTROL),
              ElementsAre(24, 0,                   // length
                          0x06,                    // command
                          0,                       // more
                          0, 0, 0, 0, 0, 0, 0, 0,  //
                          12, 0,                   // 12
                          1, 0,                    // 14
                          8, 0, 0, 0,              // 16: bytes that follow
                          0, 0, 0, 0));
  EXPECT_THAT(
      controlMessage(VSCH_CMD_CONTROL_C2H),
      ElementsAre(24, 0, 0x87, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 0, 1, 0, 8, 0, 0, 0, 0, 0, 0, 0));
}

}  // namespace
}  // namespace tessel::test
