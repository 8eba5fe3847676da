#include <gmock/gmock.h>
#include <vector>

#include "wire/MousePacket.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

TEST(MousePacketTest, IsEightLittleEndianBytes) {
  MousePacket packet;
  packet.x = 0x0102;
  packet.y = 0xFFFE;
  packet.command = static_cast<std::uint8_t>(MouseCommand::kWheelUp);
  packet.wheel = 3;
  EXPECT_THAT(packet.bytes(), ElementsAre(8, 0x0D,     // size, type
                                          0x02, 0x01,  // x
                                          0xFE, 0xFF,  // y
                                          0x40,        // command
                                          3));         // wheel
  EXPECT_EQ(MousePacket::parse(packet.bytes()), packet);
}

TEST(MousePacketTest, CommandsAreTheirNumbers) {
  const auto numberOf = [](MouseCommand command) { return static_cast<int>(command); };
  EXPECT_EQ(numberOf(MouseCommand::kMove), 0x01);
  EXPECT_EQ(numberOf(MouseCommand::kLeftDown), 0x02);
  EXPECT_EQ(numberOf(MouseCommand::kLeftUp), 0x04);
  EXPECT_EQ(numberOf(MouseCommand::kRightDown), 0x08);
  EXPECT_EQ(numberOf(MouseCommand::kRightUp), 0x10);
  EXPECT_EQ(numberOf(MouseCommand::kWheelDown), 0x20);
  EXPECT_EQ(numberOf(MouseCommand::kWheelUp), 0x40);
}

TEST(MousePacketTest, TakesEightBytesOnly) {
  for (const std::size_t size : {0U, 1U, 7U, 9U, 16U}) {
    EXPECT_FALSE(MousePacket::parse(Bytes(size))) << size;
  }
}

TEST(MousePacketTest, IsValidWithItsSizeAndTypeOnly) {
  EXPECT_TRUE(MousePacket::parse(Bytes{8, 0x0D, 0, 0, 0, 0, 0xFF, 0})->isValid());
  EXPECT_FALSE(MousePacket::parse(Bytes{9, 0x0D, 0, 0, 0, 0, 1, 0})->isValid());
  EXPECT_FALSE(MousePacket::parse(Bytes{8, 0x0E, 0, 0, 0, 0, 1, 0})->isValid());
}

}  // namespace
}  // namespace tessel::test
