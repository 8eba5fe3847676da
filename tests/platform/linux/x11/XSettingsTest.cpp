#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "platform/linux/x11/XSettings.h"

namespace tessel::platform {
namespace {

using Settings = std::vector<std::uint8_t>;

constexpr std::string_view kName = "Net/DoubleClickTime";

// A string, a color and two integers, little-endian.
const Settings kSettings{
    0,    0,    0,    0,                       // little-endian
    7,    0,    0,    0,                       // serial
    4,    0,    0,    0,                       // settings
    1,    0,    3,    0,                       // a string, its name 3 long
    'G',  't',  'k',  0,                       //
    1,    0,    0,    0,                       // serial
    5,    0,    0,    0,                       // its length
    'A',  'd',  'w',  'a',  'i', 0,   0,   0,  //
    2,    0,    1,    0,                       // a color, its name 1 long
    'c',  0,    0,    0,                       //
    1,    0,    0,    0,                       // serial
    1,    2,    3,    4,    5,   6,   7,   8,  //
    0,    0,    19,   0,                       // an integer, its name 19 long
    'N',  'e',  't',  '/',  'D', 'o', 'u', 'b', 'l', 'e',
    'C',  'l',  'i',  'c',  'k', 'T', 'i', 'm', 'e',
    0,                       //
    1,    0,    0,    0,     // serial
    0x58, 2,    0,    0,     // 600
    0,    0,    4,    0,     // an integer, its name 4 long
    'l',  'a',  's',  't',   //
    1,    0,    0,    0,     // serial
    0xFF, 0xFF, 0xFF, 0xFF,  // -1
};

const Settings kBigEndianSettings{
    1,   0,   0,   0,     // big-endian
    0,   0,   0,   7,     // serial
    0,   0,   0,   2,     // settings
    1,   0,   0,   1,     // a string, its name 1 long
    's', 0,   0,   0,     //
    0,   0,   0,   1,     // serial
    0,   0,   0,   4,     // its length
    'f', 'o', 'u', 'r',   //
    0,   0,   0,   4,     // an integer, its name 4 long
    'l', 'a', 's', 't',   //
    0,   0,   0,   1,     // serial
    0,   0,   2,   0x58,  // 600
};

TEST(XSettingsTest, AnIntegerIsFoundByItsName) {
  EXPECT_EQ(integerXSetting(kSettings, kName), 600);
  EXPECT_EQ(integerXSetting(kSettings, "last"), -1);
  EXPECT_EQ(integerXSetting(kBigEndianSettings, "last"), 600);
}

TEST(XSettingsTest, ASettingOfAnotherNameOrTypeIsNotFound) {
  EXPECT_EQ(integerXSetting(kSettings, "Net/DoubleClick"), std::nullopt);
  EXPECT_EQ(integerXSetting(kSettings, "Gtk"), std::nullopt);
  EXPECT_EQ(integerXSetting(kSettings, "c"), std::nullopt);
  EXPECT_EQ(integerXSetting(kSettings, ""), std::nullopt);
}

TEST(XSettingsTest, SettingsThatAreCutOffHoldWhatIsWholeBeforeTheCut) {
  // Where the value of the setting ends.
  const std::size_t whole = kSettings.size() - 16;
  for (std::size_t length = 0; length <= kSettings.size(); ++length) {
    // A block of its own, so that a read past its end is found.
    const Settings cut{kSettings.begin(), kSettings.begin() + static_cast<std::ptrdiff_t>(length)};
    EXPECT_EQ(integerXSetting(cut, kName), length < whole ? std::nullopt : std::optional{600})
        << length;
    EXPECT_EQ(integerXSetting(cut, "last"),
              length < kSettings.size() ? std::nullopt : std::optional{-1})
        << length;
  }
}

TEST(XSettingsTest, BytesThatAreNoSettingsHoldNone) {
  Settings unknownOrder = kSettings;
  unknownOrder[0] = 2;
  EXPECT_EQ(integerXSetting(unknownOrder, kName), std::nullopt);
  Settings unknownType = kSettings;
  unknownType[12] = 3;
  EXPECT_EQ(integerXSetting(unknownType, kName), std::nullopt);
  Settings endlessString = kSettings;
  for (std::size_t at = 24; at < 28; ++at) endlessString[at] = 0xFF;
  EXPECT_EQ(integerXSetting(endlessString, kName), std::nullopt);
  Settings countless = kSettings;
  for (std::size_t at = 8; at < 12; ++at) countless[at] = 0xFF;
  EXPECT_EQ(integerXSetting(countless, kName), 600);
  EXPECT_EQ(integerXSetting(countless, "none"), std::nullopt);
}

TEST(XSettingsTest, RandomBytesAreRead) {
  std::mt19937 random{3};
  std::uniform_int_distribution<int> byte{0, 255};
  for (int round = 0; round < 20'000; ++round) {
    Settings settings = kSettings;
    for (int change = 0; change < 3; ++change) {
      settings[random() % settings.size()] = static_cast<std::uint8_t>(byte(random));
    }
    settings.resize(random() % (settings.size() + 1));
    settings.shrink_to_fit();
    integerXSetting(settings, kName);
  }
}

}  // namespace
}  // namespace tessel::platform
