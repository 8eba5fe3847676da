#include <gmock/gmock.h>
#include <vector>

#include "wire/KeyboardRecord.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

TEST(KeyboardRecordTest, IsEightLittleEndianBytes) {
  KeyboardRecord record;
  record.keyFlag = SPECIAL_KEY_UP_FLAG;
  record.keyCode = 0x0102;
  EXPECT_THAT(record.bytes(), ElementsAre(8, 0, 0, 0,    // cmd
                                          0,             // event type
                                          3,             // key flag
                                          0x02, 0x01));  // hub's code
  EXPECT_EQ(KeyboardRecord::parse(record.bytes()), record);
}

TEST(KeyboardRecordTest, FlagsAreTheirNumbers) {
  EXPECT_EQ(KEY_DOWN_FLAG, 0);
  EXPECT_EQ(KEY_UP_FLAG, 1);
  EXPECT_EQ(SPECIAL_KEY_DOWN_FLAG, 2);
  EXPECT_EQ(SPECIAL_KEY_UP_FLAG, 3);
}

TEST(KeyboardRecordTest, EveryFieldIsReadAtItsPlaceFromBytesAndFromANumber) {
  const KeyboardRecord expected{
      .cmd = 0x44332211, .eventType = 0x55, .keyFlag = 0x66, .keyCode = -2};
  EXPECT_EQ(KeyboardRecord::parse(Bytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0xFE, 0xFF}), expected);
  EXPECT_EQ(KeyboardRecord::fromNumber(0xFFFE'6655'4433'2211), expected);
}

TEST(KeyboardRecordTest, TakesEightBytesOnly) {
  for (const std::size_t size : {0U, 1U, 7U, 9U, 16U}) {
    EXPECT_FALSE(KeyboardRecord::parse(Bytes(size))) << size;
  }
}

TEST(KeyboardRecordTest, IsValidWithItsCmdAndEventTypeOnly) {
  EXPECT_TRUE(KeyboardRecord::parse(Bytes{8, 0, 0, 0, 0, 0xFF, 0, 0})->isValid());
  for (const std::size_t at : {0U, 1U, 2U, 3U, 4U}) {
    Bytes wrong{8, 0, 0, 0, 0, 0, 0, 0};
    wrong[at] ^= 1;
    EXPECT_FALSE(KeyboardRecord::parse(wrong)->isValid()) << at;
  }
}

}  // namespace
}  // namespace tessel::test
