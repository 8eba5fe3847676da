#include <gtest/gtest.h>
#include <vector>

#include "platform/media/NalUnits.h"

namespace tessel::platform {
namespace {

TEST(NalUnitsTest, StartCodesOfBothLengthsSplit) {
  const Bytes stream{0, 0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 0, 0, 3, 1};
  const std::vector<NalUnit> units = splitAnnexB(stream);
  ASSERT_EQ(units.size(), 3U);
  EXPECT_EQ(Bytes(units[0].begin(), units[0].end()), (Bytes{0x67, 1}));
  EXPECT_EQ(Bytes(units[1].begin(), units[1].end()), (Bytes{0x68, 2}));
  EXPECT_EQ(Bytes(units[2].begin(), units[2].end()), (Bytes{0x65, 0, 0, 3, 1}));
  EXPECT_EQ(nalType(units[2]), NalType::kIdrSlice);
}

TEST(NalUnitsTest, StreamWithoutStartCodeHasNoUnits) {
  EXPECT_TRUE(splitAnnexB({}).empty());
  EXPECT_TRUE(splitAnnexB(Bytes{0, 0, 1}).empty());
  EXPECT_TRUE(splitAnnexB(Bytes{0, 0, 2, 0, 0}).empty());
}

}  // namespace
}  // namespace tessel::platform
