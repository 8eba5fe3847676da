#include <gmock/gmock.h>

#include "platform/linux/bluez/ManagementSocket.h"

namespace tessel::platform {
namespace {

using testing::ElementsAre;

constexpr std::uint16_t kCommand = 0x0004;
constexpr std::uint16_t kController = 1;

const std::vector<std::uint8_t> kAnswer = {
    0x01, 0x00,  // command complete
    0x01, 0x00,  // controller
    0x05, 0x00,  // size of what follows
    0x04, 0x00,  // command
    0x00,        // success
    0xAA, 0xBB,  // return parameters
};

TEST(ManagementSocketTest, ACommandIsItsCodeTheControllerAndNoParameters) {
  EXPECT_THAT(managementCommand(0x0403, 0x0102), ElementsAre(0x03, 0x04, 0x02, 0x01, 0x00, 0x00));
}

TEST(ManagementSocketTest, TheAnswerIsWhatFollowsItsHead) {
  const auto answer = managementAnswer(kAnswer, kCommand, kController);
  ASSERT_TRUE(answer);
  EXPECT_THAT(*answer, ElementsAre(0xAA, 0xBB));
}

TEST(ManagementSocketTest, AnyOtherHeadIsNoAnswer) {
  for (const std::size_t at : {0U, 1U, 2U, 3U, 6U, 7U, 8U}) {
    auto other = kAnswer;
    other[at] ^= 0x10;
    EXPECT_FALSE(managementAnswer(other, kCommand, kController)) << at;
  }
}

TEST(ManagementSocketTest, APacketCutShortIsNoAnswer) {
  for (std::size_t size = 0; size < 9; ++size) {
    EXPECT_FALSE(managementAnswer(std::span{kAnswer}.first(size), kCommand, kController)) << size;
  }
}

}  // namespace
}  // namespace tessel::platform
