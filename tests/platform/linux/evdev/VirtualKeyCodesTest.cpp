#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <map>
#include <set>

#include "input/KeyMaps.h"
#include "platform/linux/evdev/VirtualKeyCodes.h"

namespace tessel::test {
namespace {

using platform::evdevCode;

std::set<std::uint16_t> keysOfTheMaps() {
  std::set<std::uint16_t> keys(keyCodeToVirtualKeyMap.begin(), keyCodeToVirtualKeyMap.end());
  keys.insert(specialKeyCodeToVirtualKeyMap.begin(), specialKeyCodeToVirtualKeyMap.end());
  keys.insert(specialKeyCodeToVirtualKeyMap_NumLock.begin(),
              specialKeyCodeToVirtualKeyMap_NumLock.end());
  keys.erase(kInvalidVirtualKey);
  return keys;
}

TEST(VirtualKeyCodesTest, EveryKeyThatTheHubCanSendIsAKeyOfItsOwn) {
  std::map<std::uint8_t, std::uint16_t> seen;
  for (const std::uint16_t key : keysOfTheMaps()) {
    const auto evdev = evdevCode(key);
    ASSERT_TRUE(evdev) << key;
    EXPECT_TRUE(seen.emplace(*evdev, key).second) << key << " and " << seen[*evdev];
  }
}

TEST(VirtualKeyCodesTest, AnythingElseIsNoKey) {
  const auto keys = keysOfTheMaps();
  for (std::uint32_t key = 0; key <= 0xFFFF; ++key) {
    const auto code = static_cast<std::uint16_t>(key);
    EXPECT_EQ(evdevCode(code).has_value(), keys.contains(code)) << key;
  }
}

TEST(VirtualKeyCodesTest, TwinsAreKeptApart) {
  EXPECT_EQ(evdevCode(0x38), KEY_LEFTSHIFT);
  EXPECT_EQ(evdevCode(0x3C), KEY_RIGHTSHIFT);
  EXPECT_EQ(evdevCode(0x3B), KEY_LEFTCTRL);
  EXPECT_EQ(evdevCode(0x3E), KEY_RIGHTCTRL);
  EXPECT_EQ(evdevCode(0x3A), KEY_LEFTALT);
  EXPECT_EQ(evdevCode(0x3D), KEY_RIGHTALT);
  EXPECT_EQ(evdevCode(0x24), KEY_ENTER);
  EXPECT_EQ(evdevCode(0x4C), KEY_KPENTER);
  EXPECT_EQ(evdevCode(0x2C), KEY_SLASH);
  EXPECT_EQ(evdevCode(0x4B), KEY_KPSLASH);
  EXPECT_EQ(evdevCode(0x12), KEY_1);
  EXPECT_EQ(evdevCode(0x53), KEY_KP1);
  EXPECT_EQ(evdevCode(0x33), KEY_BACKSPACE);
  EXPECT_EQ(evdevCode(0x75), KEY_DELETE);
}

}  // namespace
}  // namespace tessel::test
