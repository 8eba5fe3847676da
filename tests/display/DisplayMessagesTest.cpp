#include <algorithm>
#include <gmock/gmock.h>

#include "display/DisplayCommands.h"
#include "tessel/DisplayMessages.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

// The context request with nothing but its constants.
constexpr H264ContextRequestMsg kDefaultRequest = {
    0xE4, 0x00,                                         //   0 length 228
    0x02,                                               //   2 command
    0,    0,    0,    0,    0,    0,    0,    0,    0,  //   3 reserved
    0x00, 0x80, 0xD8, 0x01,                             //  12
    0x10, 0x00,                                         //  16
    0x04, 0x00,                                         //  18
    0x0C, 0x00, 0x00, 0x00,                             //  20
    0x04, 0x00, 0x00, 0x00,                             //  24
    0x01, 0x00, 0x00, 0x00,                             //  28
    0x0C, 0x00, 0x00, 0x00,                             //  32
    0x02, 0x00, 0x00, 0x00,                             //  36
    0x00, 0x00, 0x00, 0x00,                             //  40
    0x18, 0x00, 0x00, 0x00,                             //  44
    0x00, 0x00, 0x00, 0x00,                             //  48
    0x03, 0x00, 0x00, 0x00,                             //  52
    0x00, 0x00, 0x00, 0x00,                             //  56 image size
    0x00, 0x00, 0x00, 0x00,                             //  60
    0x00, 0x00, 0x00, 0x00,                             //  64
    0x48, 0x00, 0x00, 0x00,                             //  68
    0x01, 0x00, 0x00, 0x00,                             //  72
    0x76, 0x69, 0x64, 0x73, 0x00, 0x00, 0x10, 0x00,     //  76 major type: vids
    0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71,     //
    0x48, 0x32, 0x36, 0x34, 0x00, 0x00, 0x10, 0x00,     //  92 subtype: H264
    0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71,     //
    0x80, 0x9F, 0x58, 0x05, 0x56, 0xC3, 0xCE, 0x11,     // 108 format type: VideoInfo
    0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A,     //
    0x58, 0x00, 0x00, 0x00,                             // 124 size of the format block
    0x00, 0x00, 0x00, 0x00,                             // 128
    0x01, 0x00, 0x00, 0x00,                             // 132
    0x00, 0x00, 0x00, 0x00,                             // 136
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,     // 140 source left, top
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,     // 148 source right, bottom
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,     // 156 target left, top
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,     // 164 target right, bottom
    0x00, 0x00, 0x00, 0x00,                             // 172 bit rate
    0x00, 0x00, 0x00, 0x00,                             // 176 bit error rate
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,     // 180 average time per frame
    0x28, 0x00, 0x00, 0x00,                             // 188 bitmap header size
    0x00, 0x00, 0x00, 0x00,                             // 192 bitmap width
    0x00, 0x00, 0x00, 0x00,                             // 196 bitmap height
    0x01, 0x00,                                         // 200 planes
    0x00, 0x00,                                         // 202 bits per pixel
    0,    0,    0,    0,    0,    0,    0,    0,        // 204 compression, image size
    0,    0,    0,    0,    0,    0,    0,    0,        // 212 pels per metre
    0,    0,    0,    0,    0,    0,    0,    0,        // 220 colours
};

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

TEST(DisplayMessagesTest, TheStartCommandsAreTheirConstants) {
  EXPECT_THAT(kOldStartCommand, ElementsAre(4, 0, 0, 0));
  EXPECT_THAT(kNewStartCommand, ElementsAre(0, 0, 0, 0, 1, 0, 0, 0, 0));
}

}  // namespace
}  // namespace tessel::test
