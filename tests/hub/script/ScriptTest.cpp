#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "apps/tessel-hub/script/CharacterKeys.h"
#include "apps/tessel-hub/script/Script.h"

namespace tessel::hub {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<Step> stepsOf(const std::string& text) {
  std::istringstream stream{text};
  return Script::parse(stream).steps;
}

// The steps but for the pauses that make them look like a hand's.
std::vector<Step> withoutSleeps(const std::string& text) {
  std::vector<Step> steps = stepsOf(text);
  std::erase_if(steps, [](const Step& s) { return std::holds_alternative<step::Sleep>(s); });
  return steps;
}

std::string complaint(const std::string& text) {
  try {
    stepsOf(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "none";
}

constexpr HubKey character(char c) { return {.special = false, .code = c}; }
constexpr HubKey special(std::int16_t code) { return {.special = true, .code = code}; }

TEST(ScriptTest, EachWordOfTheLanguageDoesWhatItSays) {
  EXPECT_THAT(
      stepsOf("move 100 200\ndown left\nup right\nwheel -3\nsleep 0.25\nwait-frame 7\nquit"),
      ElementsAre(step::Move{100, 200}, step::Button{MouseButton::kLeft, true},
                  step::Button{MouseButton::kRight, false}, step::Wheel{-3}, step::Sleep{250ms},
                  step::WaitFrame{7}, step::Quit{}));
  EXPECT_THAT(stepsOf("key a down\nkey a up\nkey b\nkey 13 down\nspecial 5 down\nspecial 3"),
              ElementsAre(step::Key{character('a'), true}, step::Key{character('a'), false},
                          step::Key{character('b'), true}, step::Key{character('b'), false},
                          step::Key{character(13), true}, step::Key{special(5), true},
                          step::Key{special(3), true}, step::Key{special(3), false}));
}

TEST(ScriptTest, ClicksGoDownAndUp) {
  const step::Button down{MouseButton::kLeft, true};
  const step::Button up{MouseButton::kLeft, false};
  EXPECT_THAT(withoutSleeps("click left"), ElementsAre(down, up));
  EXPECT_THAT(withoutSleeps("doubleclick left"), ElementsAre(down, up, down, up));
}

TEST(ScriptTest, ADoubleClickIsQuickEnoughToBeOne) {
  std::chrono::milliseconds time{0};
  for (const Step& step : stepsOf("doubleclick left")) {
    if (const auto* sleep = std::get_if<step::Sleep>(&step)) time += sleep->time;
  }
  EXPECT_LT(time, 400ms);
}

TEST(ScriptTest, ADragMovesOnTheWayAndEndsWhereItShould) {
  const std::vector<Step> steps = withoutSleeps("drag 10 20 110 220");
  ASSERT_GT(steps.size(), 4U);
  EXPECT_EQ(steps[0], Step{(step::Move{10, 20})});
  EXPECT_EQ(steps[1], Step{(step::Button{MouseButton::kLeft, true})});
  EXPECT_EQ(steps[steps.size() - 2], Step{(step::Move{110, 220})});
  EXPECT_EQ(steps.back(), Step{(step::Button{MouseButton::kLeft, false})});
}

TEST(ScriptTest, TextIsTypedWithShiftWhereItIsNeeded) {
  EXPECT_THAT(withoutSleeps(R"(text "aB\n")"),
              ElementsAre(step::Key{character('a'), true}, step::Key{character('a'), false},
                          step::Key{kShiftKey, true}, step::Key{character('B'), true},
                          step::Key{character('B'), false}, step::Key{kShiftKey, false},
                          step::Key{kReturnKey, true}, step::Key{kReturnKey, false}));
}

TEST(ScriptTest, QuotesAndHashesMayStandInATextAndBeKeys) {
  EXPECT_EQ(withoutSleeps(R"(text "\"#\\ ")").size(), 4U + 4U + 2U + 2U);
  EXPECT_THAT(stepsOf("key # down"), ElementsAre(step::Key{character('#'), true}));
  EXPECT_THAT(stepsOf("key 5 down"), ElementsAre(step::Key{character('5'), true}));
}

TEST(ScriptTest, CommentsAndEmptyLinesDoNothing) {
  EXPECT_THAT(stepsOf("# a comment\n\n   \n  # another\n"), IsEmpty());
  EXPECT_THAT(stepsOf("wheel 1  # up"), ElementsAre(step::Wheel{1}));
}

TEST(ScriptTest, FaultsAreNamedWithTheirLine) {
  EXPECT_EQ(complaint("move 1 2\njump"), "line 2: \"jump\" is not a word of the script language");
  EXPECT_EQ(complaint("move 1"), "line 1: Y is missing");
  EXPECT_EQ(complaint("move 1 x"), "line 1: Y must be a whole number from 0 to 65535, not \"x\"");
  EXPECT_EQ(complaint("\n\nmove -1 0"),
            "line 3: X must be a whole number from 0 to 65535, not \"-1\"");
  EXPECT_EQ(complaint("click middle"), "line 1: a button is left or right, not \"middle\"");
  EXPECT_EQ(complaint("key ab"),
            "line 1: a key is one character or its number up to 127, not \"ab\"");
  EXPECT_EQ(complaint("key a sideways"), "line 1: a key goes down or up, not \"sideways\"");
  EXPECT_EQ(complaint("text hello"), "line 1: a text in double quotes is missing");
  EXPECT_EQ(complaint("text \"hello"), "line 1: the text's closing quote is missing");
  EXPECT_EQ(complaint("text \"\xC3\xA4\""),
            "line 1: the text holds a character that no key of the hub types");
  EXPECT_EQ(complaint("sleep -1"), "line 1: the time must be a number from 0 to 3600, not \"-1\"");
  EXPECT_EQ(complaint("sleep nan"),
            "line 1: the time must be a number from 0 to 3600, not \"nan\"");
  EXPECT_EQ(complaint("special 81"),
            "line 1: the special key must be a whole number from 0 to 80, not \"81\"");
  EXPECT_EQ(complaint("quit now"), "line 1: \"now\" is too much");
}

TEST(CharacterKeysTest, EveryPrintableCharacterIsTypedAsItself) {
  for (char c = ' '; c <= '~'; ++c) {
    const auto key = keyForCharacter(c);
    ASSERT_TRUE(key) << c;
    EXPECT_EQ(key->key, character(c));
  }
  EXPECT_FALSE(keyForCharacter('\x7f'));
  EXPECT_FALSE(keyForCharacter('\xe4'));
}

TEST(CharacterKeysTest, ShiftGoesWithWhatAnAmericanKeyboardShifts) {
  std::string shifted;
  for (char c = ' '; c <= '~'; ++c) {
    if (keyForCharacter(c)->shift) shifted += c;
  }
  EXPECT_EQ(shifted, "!\"#$%&()*+:<>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ^_{|}~");
}

}  // namespace
}  // namespace tessel::hub
