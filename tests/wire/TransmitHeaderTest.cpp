#include <gmock/gmock.h>
#include <vector>

#include "wire/TransmitHeader.h"

namespace tessel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The first piece of a frame of 120000 bytes.
constexpr SimpleTransmitMsg kTable = {
    0x88, 0xC3,              //  0 length: 56 + 50000
    0x05,                    //  2 command
    1,                       //  3 more
    0,    0,    0,    0,     //  4
    0,    0,    0,    0,     //  8
    12,   0,                 // 12
    1,    0,                 // 14
    0xE8, 0xD4, 0x01, 0x00,  // 16 bytes that follow: 120040
    0,    0,    0,    0,     // 20
    0,    0,    0,    0,     // 24
    0,    0,    0,    0,     // 28
    0,    0,    0,    0,     // 32
    0,    0,    0,    0,     // 36
    0,    0,    0,    0,     // 40
    0,    0,    0,    0,     // 44
    0,    0,    0,    0,     // 48
    0xC0, 0xD4, 0x01, 0x00,  // 52 frame: 120000
};
constexpr TransmitHeader kHeader{.pieceLength = 50000, .more = true, .frameLength = 120000};

TEST(TransmitHeaderTest, IsItsTable) {
  EXPECT_EQ(kHeader.bytes(), kTable);
  EXPECT_EQ(TransmitHeader::parse(kTable), kHeader);
}

TEST(TransmitHeaderTest, AMessageWithoutContentCountsNoBytes) {
  SimpleTransmitMsg expected{};
  expected[0] = 56;
  expected[2] = 0x05;
  expected[12] = 12;
  expected[14] = 1;
  EXPECT_EQ(TransmitHeader::empty(), expected);
}

TEST(TransmitHeaderTest, AnEmptyFrameIsOne) {
  EXPECT_EQ(TransmitHeader::parse(TransmitHeader{}.bytes()), TransmitHeader{});
}

TEST(TransmitHeaderTest, WhatContradictsItselfIsNone) {
  for (const std::size_t at : {2U, 12U, 13U, 14U, 16U, 19U, 52U, 55U}) {
    SimpleTransmitMsg wrong = kTable;
    wrong[at] ^= 1;
    EXPECT_FALSE(TransmitHeader::parse(wrong)) << at;
  }
  SimpleTransmitMsg tooShort = TransmitHeader{}.bytes();
  tooShort[0] = 55;
  EXPECT_FALSE(TransmitHeader::parse(tooShort));
}

// 40 more than the largest frame does not fit into the count.
TEST(TransmitHeaderTest, ACountThatWrapsIsNone) {
  const TransmitHeader header{.pieceLength = 0, .more = true, .frameLength = 0xFFFFFFFF};
  EXPECT_FALSE(TransmitHeader::parse(header.bytes()));
}

TEST(TransmitHeaderTest, WhatIsReservedIsIgnored) {
  for (const std::size_t at : {4U, 11U, 15U, 20U, 24U, 51U}) {
    SimpleTransmitMsg message = kTable;
    message[at] = 0xFF;
    EXPECT_EQ(TransmitHeader::parse(message), kHeader) << at;
  }
}

TEST(TransmitHeaderTest, TakesWholeHeadersOnly) {
  for (std::size_t size = 0; size < kTable.size(); ++size) {
    EXPECT_FALSE(TransmitHeader::parse(std::span{kTable}.first(size))) << size;
  }
  EXPECT_FALSE(TransmitHeader::parse(Bytes(57)));
}

}  // namespace
}  // namespace tessel::test
