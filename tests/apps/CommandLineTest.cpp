#include <CLI/CLI.hpp>
#include <gtest/gtest.h>
#include <vector>

#include "apps/common/CommandLine.h"

namespace tessel::apps {
namespace {

// A program with two commands and options of each kind.
class CommandLineTest : public testing::Test {
 protected:
  CommandLineTest() {
    app_.require_subcommand(1);
    app_.set_version_flag("--version", "tool 1.0");
    CLI::App* copy = app_.add_subcommand("copy");
    copy->add_option("FILE", file_);
    copy->add_option("--to", to_)->type_name("FILE");
    copy->add_option("--log", log_)->expected(0, 1);
    copy->add_flag("--quick", quick_);
    copy->add_option_function<std::string>("--times", [this](const std::string& text) {
      if (const auto times = numberFrom<int>(text)) {
        times_ = *times;
      } else {
        throw WrongUsage{"--times takes a number, not " + quotedWord(text)};
      }
    });
    app_.add_subcommand("list");
  }

  std::optional<CommandLineAnswer> parse(std::vector<const char*> words) {
    words.insert(words.begin(), "tool");
    return parseCommandLine(app_, static_cast<int>(words.size()), words.data());
  }

  void expectMistake(std::vector<const char*> words, const std::string& line) {
    const auto answer = parse(std::move(words));
    ASSERT_TRUE(answer) << line;
    EXPECT_EQ(answer->exitCode, 2);
    EXPECT_EQ(answer->text, line + "\n");
  }

  CLI::App app_{"Does nothing.", "tool"};
  std::string file_;
  std::string to_;
  std::string log_ = "none";
  bool quick_ = false;
  int times_ = 0;
};

TEST_F(CommandLineTest, WhatIsRightIsTaken) {
  EXPECT_FALSE(parse({"copy", "a", "--to", "b", "--log", "--quick", "--quick", "--times=3"}));
  EXPECT_EQ(file_, "a");
  EXPECT_EQ(to_, "b");
  EXPECT_EQ(log_, "");
  EXPECT_TRUE(quick_);
  EXPECT_EQ(times_, 3);
}

TEST_F(CommandLineTest, AValueMayLookLikeAnOptionWhereItCannotBeMistaken) {
  EXPECT_FALSE(parse({"copy", "--to=--quick", "--times", "-3", "--", "--log"}));
  EXPECT_EQ(to_, "--quick");
  EXPECT_FALSE(quick_);
  EXPECT_EQ(times_, -3);
  EXPECT_EQ(file_, "--log");
}

TEST_F(CommandLineTest, ASingleDashIsAValue) {
  EXPECT_FALSE(parse({"copy", "--to", "-", "--log", "-"}));
  EXPECT_EQ(to_, "-");
  EXPECT_EQ(log_, "-");
}

TEST_F(CommandLineTest, AnOptionDoesNotSwallowTheNext) {
  expectMistake({"copy", "--to", "--quick"},
                "--to needs a value, and \"--quick\" behind it looks like an option (a value like "
                "that is joined with =). See tool copy --help.");
  expectMistake({"copy", "--to"}, "--to needs a value. See tool copy --help.");
}

TEST_F(CommandLineTest, AnEmptyValueIsNone) {
  for (const std::vector<const char*>& words :
       {std::vector{"copy", "--to", ""}, {"copy", "--to="}, {"copy", "--to=", "b"}}) {
    expectMistake(words, "--to needs a value, not an empty one. See tool copy --help.");
  }
  expectMistake({"copy", "--log="}, "--log needs a value, not an empty one. See tool copy --help.");
  expectMistake({"copy", ""}, "FILE needs a value, not an empty one. See tool copy --help.");
}

TEST_F(CommandLineTest, WordsThatDoNotBelongThereAreNamedTheFirstOneFirst) {
  expectMistake({"fly"}, "There is no command \"fly\", only copy and list. See tool --help.");
  expectMistake({"--bogus"}, "There is no option \"--bogus\". See tool --help.");
  expectMistake({"copy", "--bogus=1"}, "There is no option \"--bogus\". See tool copy --help.");
  expectMistake({"copy", "a", "c", "b"}, "\"c\" is one word too many. See tool copy --help.");
  expectMistake({"copy", "a", "list"}, "\"list\" is one word too many. See tool copy --help.");
  expectMistake({}, "A command is missing: copy or list. See tool --help.");
}

TEST_F(CommandLineTest, AnOptionIsGivenOnceAndAFlagHasNoValue) {
  expectMistake({"copy", "--to", "a", "--to=b"}, "--to is given twice. See tool copy --help.");
  expectMistake({"copy", "--quick=no"}, "--quick takes no value. See tool copy --help.");
}

TEST_F(CommandLineTest, WordsOfTheUsersAreSafeToShowAndNotLong) {
  expectMistake({"copy", "--times", "\x1b[31m\n"},
                R"(--times takes a number, not "\x1b[31m\x0a". See tool copy --help.)");
  const std::string tooLong(70000, 'x');
  expectMistake({tooLong.c_str()}, "There is no command \"" + std::string(60, 'x') +
                                       "...\", only copy and list. See tool --help.");
}

TEST_F(CommandLineTest, HelpAndVersionAreAnsweredWhateverFollows) {
  for (const std::vector<const char*>& words :
       {std::vector{"copy", "--help"}, {"copy", "-h", "--bogus"}, {"copy", "--help", "--to"}}) {
    const auto answer = parse(words);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->exitCode, 0);
    EXPECT_NE(answer->text.find("--quick"), std::string::npos) << answer->text;
  }
  const auto answer = parse({"--version", "fly"});
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->exitCode, 0);
  EXPECT_EQ(answer->text, "tool 1.0\n");
}

TEST(NumberFromTest, TheWholeTextIsTheNumber) {
  EXPECT_EQ(numberFrom<int>("010"), 10);
  EXPECT_EQ(numberFrom<double>("1e3"), 1000);
  for (const char* text : {"", " 1", "1 ", "+1", "0x1F", "1.5", "99999999999999999999"}) {
    EXPECT_EQ(numberFrom<int>(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace tessel::apps
