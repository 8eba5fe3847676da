#include <gmock/gmock.h>
#include <map>
#include <string_view>

#include "input/KeyMaps.h"

namespace tessel::test {
namespace {

// A US keyboard, row by row: what its keys type without and with Shift, and their codes.
struct Row {
  std::string_view plain;
  std::string_view shifted;
  std::vector<std::uint16_t> keys;
};
const std::vector<Row> kKeyboard{
    {"`1234567890-=",
     "~!@#$%^&*()_+",
     {0x32, 0x12, 0x13, 0x14, 0x15, 0x17, 0x16, 0x1A, 0x1C, 0x19, 0x1D, 0x1B, 0x18}},
    {"qwertyuiop[]\\",
     "QWERTYUIOP{}|",
     {0x0C, 0x0D, 0x0E, 0x0F, 0x11, 0x10, 0x20, 0x22, 0x1F, 0x23, 0x21, 0x1E, 0x2A}},
    {"asdfghjkl;'",
     "ASDFGHJKL:\"",
     {0x00, 0x01, 0x02, 0x03, 0x05, 0x04, 0x26, 0x28, 0x25, 0x29, 0x27}},
    {"zxcvbnm,./ ",
     "ZXCVBNM<>? ",
     {0x06, 0x07, 0x08, 0x09, 0x0B, 0x2D, 0x2E, 0x2B, 0x2F, 0x2C, 0x31}},
};

TEST(KeyMapsTest, EachPrintableCharacterMapsToTheKeyThatTypesIt) {
  std::map<char, std::uint16_t> keys;
  for (const Row& row : kKeyboard) {
    ASSERT_EQ(row.plain.size(), row.keys.size());
    ASSERT_EQ(row.shifted.size(), row.keys.size());
    for (std::size_t i = 0; i < row.keys.size(); ++i) {
      keys[row.plain[i]] = row.keys[i];
      keys[row.shifted[i]] = row.keys[i];
    }
  }
  ASSERT_EQ(keys.size(), 95U);
  for (const auto& [character, key] : keys) {
    EXPECT_EQ(keyCodeToVirtualKeyMap.at(static_cast<std::size_t>(character)), key) << character;
  }
}

TEST(KeyMapsTest, SomeControlCharactersMapToTheirLetter) {
  std::map<std::size_t, std::uint16_t> keys{{0, 0x31}, {127, 0x00}};
  for (const char letter : std::string_view{"abcflsvxz"}) {
    keys[static_cast<std::size_t>(letter - 'a' + 1)] =
        keyCodeToVirtualKeyMap.at(static_cast<std::size_t>(letter));
  }
  for (std::size_t code = 0; code < 32; ++code) {
    const auto key = keys.find(code);
    EXPECT_EQ(keyCodeToVirtualKeyMap.at(code), key == keys.end() ? 0xFFFF : key->second) << code;
  }
  EXPECT_EQ(keyCodeToVirtualKeyMap.at(127), 0x00);
}

TEST(KeyMapsTest, NumLockTurnsTheArrowBlockIntoTheKeypad) {
  const std::map<std::size_t, std::pair<std::uint16_t, std::uint16_t>> kDiffering{
      {22, {0x73, 0x59}},   {23, {0x7E, 0x5B}}, {24, {0x74, 0x5C}}, {25, {0x7B, 0x56}},
      {27, {0x7C, 0x58}},   {28, {0x77, 0x53}}, {29, {0x7D, 0x54}}, {30, {0x79, 0x55}},
      {31, {0xFFFF, 0x52}}, {34, {0x75, 0x41}}};
  for (std::size_t code = 0; code < 80; ++code) {
    const auto differing = kDiffering.find(code);
    const auto off = specialKeyCodeToVirtualKeyMap.at(code);
    const auto on = specialKeyCodeToVirtualKeyMap_NumLock.at(code);
    if (differing == kDiffering.end()) {
      EXPECT_EQ(off, on) << code;
    } else {
      EXPECT_EQ((std::pair{off, on}), differing->second) << code;
    }
  }
}

TEST(KeyMapsTest, SpecialKeysMapToTheirKeys) {
  const std::map<std::size_t, std::uint16_t> kKeys{
      {0, 0x35},  {1, 0x33},  {2, 0x30},  {3, 0x24},  {4, 0x3B},  {5, 0x38},  {6, 0x3C},
      {7, 0x43},  {8, 0x3A},  {10, 0x39}, {11, 0x7A}, {12, 0x78}, {13, 0x63}, {14, 0x76},
      {15, 0x60}, {16, 0x61}, {17, 0x62}, {18, 0x64}, {19, 0x65}, {20, 0x6D}, {22, 0x73},
      {23, 0x7E}, {24, 0x74}, {25, 0x7B}, {26, 0x57}, {27, 0x7C}, {28, 0x77}, {29, 0x7D},
      {30, 0x79}, {32, 0x4E}, {33, 0x45}, {34, 0x75}, {35, 0x67}, {36, 0x6F}, {37, 0x47},
      {50, 0x4C}, {51, 0x3E}, {52, 0x4B}, {53, 0x3D}, {55, 0x73}, {56, 0x74}, {57, 0x75},
      {58, 0x77}, {59, 0x79}, {60, 0x7E}, {61, 0x7B}, {62, 0x7D}, {63, 0x7C}, {64, 0x37},
      {65, 0x37}};
  for (std::size_t code = 0; code < 80; ++code) {
    const auto key = kKeys.find(code);
    EXPECT_EQ(specialKeyCodeToVirtualKeyMap.at(code), key == kKeys.end() ? 0xFFFF : key->second)
        << code;
  }
}

TEST(KeyMapsTest, ALookupAcceptsTheCodesUpToItsGreatest) {
  std::array<std::uint16_t, 82> map{};
  for (std::size_t code = 0; code < map.size(); ++code) {
    map.at(code) = static_cast<std::uint16_t>(0x100 + code);
  }
  const auto accepts = [&map](std::int16_t maxCode, std::int16_t code) {
    const std::uint16_t key = lookUpVirtualKey(map, maxCode, code);
    EXPECT_TRUE(key == kInvalidVirtualKey || key == 0x100 + code) << code;
    return key != kInvalidVirtualKey;
  };
  EXPECT_TRUE(accepts(kMaxSpecialKeyCode, 0));
  EXPECT_TRUE(accepts(kMaxSpecialKeyCode, 79));
  EXPECT_FALSE(accepts(kMaxSpecialKeyCode, 80));
  EXPECT_TRUE(accepts(kMaxSpecialKeyCodeWithNumLock, 0));
  EXPECT_TRUE(accepts(kMaxSpecialKeyCodeWithNumLock, 80));
  EXPECT_FALSE(accepts(kMaxSpecialKeyCodeWithNumLock, 81));
  EXPECT_FALSE(accepts(kMaxSpecialKeyCodeWithNumLock, -1));
  EXPECT_EQ(kMaxKeyCode, 127);
}

TEST(KeyMapsTest, AnAcceptedCodePastTheLastRowIsUnmapped) {
  EXPECT_EQ(
      lookUpVirtualKey(specialKeyCodeToVirtualKeyMap_NumLock, kMaxSpecialKeyCodeWithNumLock, 80),
      0xFFFF);
  const std::array<std::uint16_t, 1> one{0x35};
  EXPECT_EQ(lookUpVirtualKey(one, 1, 0), 0x35);
  EXPECT_EQ(lookUpVirtualKey(one, 1, 1), 0xFFFF);
}

}  // namespace
}  // namespace tessel::test
