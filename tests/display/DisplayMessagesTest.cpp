#include <algorithm>
#include <gmock/gmock.h>

#include "tessel/DisplayMessages.h"
#include "tests/wire/ContextRequestTable.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

H264ContextRequestMsg requestFor(std::uint32_t width, std::uint32_t height) {
  H264ContextRequestMsg message;
  DefaultH264ContextRequestMsg(message);
  SetH264ContextRequestMsgResolution(message, width, height, 12);
  return message;
}

std::uint32_t numberAt(const H264ContextRequestMsg& message, std::size_t at) {
  return message[at] | message[at + 1] << 8U | message[at + 2] << 16U |
         static_cast<std::uint32_t>(message[at + 3]) << 24U;
}

TEST(DisplayMessagesTest, TheDefaultContextRequestIsItsConstants) {
  H264ContextRequestMsg message;
  message.fill(0xEE);
  DefaultH264ContextRequestMsg(message);
  EXPECT_EQ(message, kDefaultRequest);
}

TEST(DisplayMessagesTest, TheResolutionChangesItsEightFieldsOnly) {
  auto expected = kDefaultRequest;
  const auto put = [&expected](std::size_t at, std::initializer_list<std::uint8_t> bytes) {
    std::ranges::copy(bytes, expected.begin() + static_cast<std::ptrdiff_t>(at));
  };
  put(56, {0x00, 0xB0, 0x7B, 0x01});   // 24883200
  put(148, {0x80, 0x07, 0x00, 0x00});  // 1920
  put(152, {0x38, 0x04, 0x00, 0x00});  // 1080
  put(164, {0x80, 0x07, 0x00, 0x00});
  put(168, {0x38, 0x04, 0x00, 0x00});
  put(192, {0x80, 0x07, 0x00, 0x00});
  put(196, {0x38, 0x04, 0x00, 0x00});
  put(202, {0x0C, 0x00});  // 12
  EXPECT_EQ(requestFor(1920, 1080), expected);
}

TEST(DisplayMessagesTest, AResolutionOf1280By720GivesItsSizeAndWidth) {
  const auto message = requestFor(1280, 720);
  EXPECT_EQ(numberAt(message, 56), 11059200U);
  EXPECT_EQ(numberAt(message, 148), 1280U);
  EXPECT_EQ(numberAt(message, 164), 1280U);
  EXPECT_EQ(numberAt(message, 192), 1280U);
}

TEST(DisplayMessagesTest, TheProductOfTheResolutionWrapsAt32Bits) {
  EXPECT_EQ(numberAt(requestFor(65536, 65536), 56), 0U);
  EXPECT_EQ(numberAt(requestFor(20000, 20000), 56), 505032704U);
}

TEST(DisplayMessagesTest, TheSimpleControlMessageIsItsConstants) {
  SimpleControlMsg message;
  message.fill(0xEE);
  DefaultSimpleControlMsg(message);
  EXPECT_THAT(message, ElementsAre(24, 0,                   // length
                                   0x06,                    // command
                                   0,                       // more
                                   0, 0, 0, 0, 0, 0, 0, 0,  //
                                   12, 0,                   // 12
                                   1, 0,                    // 14
                                   8, 0, 0, 0,              // 16: bytes that follow
                                   0, 0, 0, 0));
}

TEST(DisplayMessagesTest, TheDefaultTransmitMessageIsEmpty) {
  SimpleTransmitMsg message;
  message.fill(0xEE);
  DefaultSimpleTransmitMsg(message);
  SimpleTransmitMsg expected{};
  expected[0] = 56;
  expected[2] = 0x05;
  expected[12] = 12;
  expected[14] = 1;
  EXPECT_EQ(message, expected);
}

TEST(DisplayMessagesTest, TheDestroyContextMessageIsItsConstants) {
  EXPECT_THAT(DefaultDestroyContextMsg(),
              ElementsAre(0x0C, 0x00, 0x04, 0x00, 0, 0, 0, 0, 0, 0, 0, 0));
}

}  // namespace
}  // namespace tessel::test
