#include <gmock/gmock.h>
#include <vector>

#include "wire/MessageHeader.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

TEST(MessageHeaderTest, IsLittleEndian) {
  const MessageHeader header{0x1234, VSCH_CMD_CONTROL_C2H, true};
  EXPECT_THAT(header.bytes(), ElementsAre(0x34, 0x12,  // length
                                          0x87,        // command
                                          1));         // more
  EXPECT_EQ(MessageHeader::parse(header.bytes()), header);
}

TEST(MessageHeaderTest, OnlyAOneAnnouncesMore) {
  EXPECT_THAT((MessageHeader{4, VSCH_CMD_SIMPLE_TRANSMIT}.bytes()), ElementsAre(4, 0, 0x05, 0));
  EXPECT_TRUE(MessageHeader::parse(Bytes{0x34, 0x12, 0x05, 1})->more);
  for (const std::uint8_t other : {0x00, 0x02, 0x81, 0xFF}) {
    EXPECT_FALSE(MessageHeader::parse(Bytes{0x34, 0x12, 0x05, other})->more) << unsigned{other};
  }
}

TEST(MessageHeaderTest, TakesFourBytesOnly) {
  for (const std::size_t size : {0U, 1U, 2U, 3U, 5U}) {
    EXPECT_FALSE(MessageHeader::parse(Bytes(size))) << size;
  }
}

TEST(MessageHeaderTest, ALengthBelowFourHasNoBody) {
  for (std::uint8_t length = 0; length <= 4; ++length) {
    EXPECT_EQ(MessageHeader::parse(Bytes{length, 0, 0x87, 0})->bodyLength(), 0U);
  }
  EXPECT_EQ(MessageHeader::parse(Bytes{5, 0, 0x87, 0})->bodyLength(), 1U);
  EXPECT_EQ(MessageHeader::parse(Bytes{0x34, 0x12, 0x87, 0xFF})->bodyLength(), 0x1230U);
  EXPECT_EQ(MessageHeader::parse(Bytes{0xFF, 0xFF, 0x87, 0})->bodyLength(), 65531U);
}

}  // namespace
}  // namespace tessel::test
