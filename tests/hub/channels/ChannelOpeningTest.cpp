#include <gtest/gtest.h>
#include <vector>

#include "apps/tessel-hub/channels/ChannelOpening.h"

namespace tessel::hub {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Verdict = ChannelOpening::Verdict;

const Bytes kOldDisplay{4, 0, 0, 0};
const Bytes kNewDisplay{0, 0, 0, 0, 1, 0, 0, 0, 0};
const Bytes kMouse{2, 0, 0, 0, 1, 0, 0, 0, 0};
const Bytes kKeyboard{1, 0, 0, 0, 1, 0, 0, 0, 0};

TEST(ChannelOpeningTest, EachChannelIsToldByItsOpening) {
  EXPECT_EQ(ChannelOpening::judge(kOldDisplay, false).kind, ChannelKind::kDisplay);
  EXPECT_EQ(ChannelOpening::judge(kNewDisplay, true).kind, ChannelKind::kDisplay);
  for (const bool newProtocol : {false, true}) {
    EXPECT_EQ(ChannelOpening::judge(kMouse, newProtocol).verdict, Verdict::kAccepted);
    EXPECT_EQ(ChannelOpening::judge(kMouse, newProtocol).kind, ChannelKind::kMouse);
    EXPECT_EQ(ChannelOpening::judge(kKeyboard, newProtocol).verdict, Verdict::kAccepted);
    EXPECT_EQ(ChannelOpening::judge(kKeyboard, newProtocol).kind, ChannelKind::kKeyboard);
  }
}

TEST(ChannelOpeningTest, DisplayOpeningOfTheOtherProtocolIsRefused) {
  EXPECT_EQ(ChannelOpening::judge(kOldDisplay, true).verdict, Verdict::kRefused);
  EXPECT_EQ(ChannelOpening::judge(kNewDisplay, false).verdict, Verdict::kRefused);
}

TEST(ChannelOpeningTest, OldDisplayOpeningIsReadWithoutABytePastIt) {
  EXPECT_EQ(ChannelOpening::judge({}, false).missing, kOldDisplay.size());
}

TEST(ChannelOpeningTest, EveryShorterLengthWaitsForBytesOfTheOpeningOnly) {
  for (const Bytes& opening : {kNewDisplay, kMouse, kKeyboard}) {
    for (std::size_t length = 0; length < opening.size(); ++length) {
      const ChannelOpening judged = ChannelOpening::judge(std::span{opening}.first(length), true);
      EXPECT_EQ(judged.verdict, Verdict::kIncomplete);
      EXPECT_GT(judged.missing, 0U);
      EXPECT_LE(length + judged.missing, opening.size());
    }
  }
}

TEST(ChannelOpeningTest, OneWrongByteAnywhereIsRefused) {
  for (const Bytes& opening : {kNewDisplay, kMouse, kKeyboard}) {
    for (std::size_t at = 1; at < opening.size(); ++at) {
      Bytes wrong = opening;
      wrong[at] ^= 0x80;
      EXPECT_EQ(ChannelOpening::judge(wrong, true).verdict, Verdict::kRefused);
    }
  }
}

}  // namespace
}  // namespace tessel::hub
