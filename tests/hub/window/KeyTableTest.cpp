#include <gtest/gtest.h>
#include <set>

#include "apps/tessel-hub/window/KeyTable.h"

namespace tessel::hub {
namespace {

TEST(KeyTableTest, LettersAndDigitsAreTheirCharacters) {
  EXPECT_EQ(hubKeyFor(SDL_SCANCODE_A, false), (HubKey{.special = false, .code = 'a'}));
  EXPECT_EQ(hubKeyFor(SDL_SCANCODE_Z, false), (HubKey{.special = false, .code = 'z'}));
  EXPECT_EQ(hubKeyFor(SDL_SCANCODE_1, false), (HubKey{.special = false, .code = '1'}));
  EXPECT_EQ(hubKeyFor(SDL_SCANCODE_0, false), (HubKey{.special = false, .code = '0'}));
}

TEST(KeyTableTest, KeypadDigitsAreDigitsOnlyWithNumLock) {
  EXPECT_EQ(hubKeyFor(SDL_SCANCODE_KP_7, true), (HubKey{.special = false, .code = '7'}));
  EXPECT_EQ(hubKeyFor(SDL_SCANCODE_KP_7, false), (HubKey{.special = true, .code = 22}));
}

TEST(KeyTableTest, LeftAndRightModifiersAreKeptApart) {
  std::set<std::int16_t> codes;
  for (const SDL_Scancode scancode :
       {SDL_SCANCODE_LCTRL, SDL_SCANCODE_RCTRL, SDL_SCANCODE_LSHIFT, SDL_SCANCODE_RSHIFT,
        SDL_SCANCODE_LALT, SDL_SCANCODE_RALT, SDL_SCANCODE_LGUI, SDL_SCANCODE_RGUI}) {
    const auto key = hubKeyFor(scancode, false);
    ASSERT_TRUE(key && key->special);
    codes.insert(key->code);
  }
  EXPECT_EQ(codes, (std::set<std::int16_t>{4, 5, 6, 8, 51, 53, 64, 65}));
}

TEST(KeyTableTest, EverySpecialKeyOfTheHubHasAKeyHere) {
  std::set<int> codes;
  for (int scancode = 0; scancode < SDL_NUM_SCANCODES; ++scancode) {
    const auto key = hubKeyFor(static_cast<SDL_Scancode>(scancode), false);
    if (key && key->special) codes.insert(key->code);
  }
  std::set<int> expected;
  for (int code = 0; code <= 65; ++code) expected.insert(code);
  for (const int unused : {9, 21, 54}) expected.erase(unused);
  for (int unused = 38; unused <= 49; ++unused) expected.erase(unused);
  EXPECT_EQ(codes, expected);
}

TEST(KeyTableTest, EveryPrintableUnshiftedCharacterHasAKey) {
  std::set<int> codes;
  for (int scancode = 0; scancode < SDL_NUM_SCANCODES; ++scancode) {
    const auto key = hubKeyFor(static_cast<SDL_Scancode>(scancode), false);
    if (key && !key->special) codes.insert(key->code);
  }
  for (const char c : std::string{"abcdefghijklmnopqrstuvwxyz0123456789 `-=[]\\;',./"}) {
    EXPECT_EQ(codes.count(c), 1U) << c;
  }
}

TEST(KeyTableTest, KeysWithoutACodeGiveNothing) {
  EXPECT_FALSE(hubKeyFor(SDL_SCANCODE_UNKNOWN, false));
  EXPECT_FALSE(hubKeyFor(SDL_SCANCODE_PRINTSCREEN, false));
  EXPECT_FALSE(hubKeyFor(SDL_SCANCODE_VOLUMEUP, true));
}

}  // namespace
}  // namespace tessel::hub
