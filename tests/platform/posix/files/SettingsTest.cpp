#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "platform/posix/files/FileServices.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::platform {
namespace {

constexpr const char* kKey = "Heartbeat Failed Message";
constexpr const char* kEnglish = "The connection to the hub was lost.";
constexpr const char* kGerman = "Die Verbindung zum Hub wurde unterbrochen.";
constexpr const char* kFrench = "La connexion au hub a \xC3\xA9t\xC3\xA9 perdue.";

std::string textIn(const char* all, const char* messages, const char* lang) {
  ::setenv("LC_ALL", all, 1);
  ::setenv("LC_MESSAGES", messages, 1);
  ::setenv("LANG", lang, 1);
  return makeLocalization(makeFiles())->localizedString(kKey);
}

TEST(LocalizationTest, TheLanguageIsTheFirstThatTheEnvironmentNames) {
  EXPECT_EQ(textIn("de_DE.UTF-8", "fr_FR", "en_US"), kGerman);
  EXPECT_EQ(textIn("", "fr", "de"), kFrench);
  EXPECT_EQ(textIn("", "", "de_AT@euro"), kGerman);
}

TEST(LocalizationTest, EnglishStandsInForWhatIsMissing) {
  EXPECT_EQ(textIn("", "", ""), kEnglish);
  EXPECT_EQ(textIn("C.UTF-8", "", "de"), kEnglish);
  EXPECT_EQ(textIn("tlh_XX", "", ""), kEnglish);
}

TEST(LocalizationTest, AKeyWithoutATextIsEmpty) {
  EXPECT_EQ(makeLocalization(makeFiles())->localizedString("No Such Key"), "");
}

struct UserDefaultsTest : ::testing::Test {
  UserDefaultsTest() {
    ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    ::setenv("HOME", (folder / "home").c_str(), 1);
  }
  void store(const std::string& where, const PropertyListDictionary& settings) const {
    files->createDirectory(where + "/tessel");
    ASSERT_TRUE(files->writePropertyListAtomically(where + "/tessel/UserDefaults.plist", settings));
  }

  const test::TemporaryFolder folder;
  const std::shared_ptr<Files> files = makeFiles();
  const std::shared_ptr<UserDefaults> defaults = makeUserDefaults(files);
};

TEST_F(UserDefaultsTest, ASettingIsReadEachTime) {
  EXPECT_EQ(defaults->string("DebugMovieOutputPath"), std::nullopt);
  store(folder.path().string(), {{"DebugMovieOutputPath", {std::string{"~/movie"}}}});
  EXPECT_EQ(defaults->string("DebugMovieOutputPath"), "~/movie");
  store(folder.path().string(), {});
  EXPECT_EQ(defaults->string("DebugMovieOutputPath"), std::nullopt);
}

TEST_F(UserDefaultsTest, WhatIsNotAStringIsNotSet) {
  store(folder.path().string(), {{"k", {std::int64_t{1}}}});
  EXPECT_EQ(defaults->string("k"), std::nullopt);
}

TEST_F(UserDefaultsTest, WithoutAnAbsoluteFolderTheHomeFolderHoldsTheSettings) {
  store(folder / "home/.config", {{"k", {std::string{"home"}}}});
  EXPECT_EQ(defaults->string("k"), std::nullopt);
  ::setenv("XDG_CONFIG_HOME", "relative", 1);
  EXPECT_EQ(defaults->string("k"), "home");
  ::unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(defaults->string("k"), "home");
}

}  // namespace
}  // namespace tessel::platform
