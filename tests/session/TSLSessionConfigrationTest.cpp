#include <gtest/gtest.h>

#include "tessel/TSLSession.h"
#include "tessel/TSLSessionConfigration.h"
#include "tessel/VexCfg.h"
#include "tests/session/SettingsFile.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

class TSLSessionConfigrationTest : public testing::Test {
 protected:
  // The shared file outlives a test's world: each test begins with one that exists.
  TSLSessionConfigrationTest() { VexCfg::sharedCfgFile()->setFileExist(true); }
  ~TSLSessionConfigrationTest() override { VexCfg::sharedCfgFile()->setFileExist(true); }

  // The flag of settings that are made while the file holds `value`.
  std::int64_t flagWith(const PropertyListValue& value) {
    world.files.files[kSettingsFile] = PropertyListDictionary{{kAutoDisconnectKey, value}};
    return TSLSessionConfigration::initWithDefaultvalue()->autoDisconnectCastingWhenCloseLaptop();
  }

  SimWorld world;
};

TEST_F(TSLSessionConfigrationTest, Defaults) {
  const auto config = TSLSessionConfigration::initWithDefaultvalue();
  EXPECT_EQ(config->HeartBeatTimeout(), 20.0);
  EXPECT_EQ(config->autoDisconnectCastingWhenCloseLaptop(), 1);
  EXPECT_EQ(config->sessionSize(), (Size{0, 0}));
}

TEST_F(TSLSessionConfigrationTest,
       AFileThatSaysNOGivesSessionsFlag0AndADeletedKeyGivesLaterOnes1Again) {
  world.files.files[kSettingsFile] = PropertyListDictionary{{kAutoDisconnectKey, {false}}};
  const auto session = TSLSession::initWithHostName("10.0.0.7", 0);
  const auto next = TSLSession::initWithHostName("10.0.0.8", 0);
  EXPECT_EQ(session->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 0);
  EXPECT_EQ(next->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 0);
  world.files.files[kSettingsFile] = PropertyListDictionary{};
  const auto later = TSLSession::initWithHostName("10.0.0.7", 0);
  EXPECT_EQ(later->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 1);
  EXPECT_EQ(session->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 0);
}

TEST_F(TSLSessionConfigrationTest, SettingsMadeBeforeAChangeOfTheFileStay) {
  const auto config = TSLSessionConfigration::initWithDefaultvalue();
  EXPECT_EQ(flagWith({false}), 0);
  EXPECT_EQ(config->autoDisconnectCastingWhenCloseLaptop(), 1);
  config->loadSettingFromCfgFile();
  EXPECT_EQ(config->autoDisconnectCastingWhenCloseLaptop(), 0);
}

TEST_F(TSLSessionConfigrationTest, NumbersConvertToTheFlag) {
  EXPECT_EQ(flagWith({std::int64_t{0}}), 0);
  EXPECT_EQ(flagWith({std::int64_t{1}}), 1);
  EXPECT_EQ(flagWith({std::int64_t{-7}}), 1);
  EXPECT_EQ(flagWith({0.0}), 0);
  EXPECT_EQ(flagWith({0.5}), 1);
}

TEST_F(TSLSessionConfigrationTest, StringsConvertToTheFlag) {
  for (const std::string text : {"YES", "yes", "true", "T", "1", " +0007", "-1", "9 lives"}) {
    EXPECT_EQ(flagWith({text}), 1) << text;
  }
  for (const std::string text : {"NO", "false", "0", "", "   ", "+", "000", "off", "x1"}) {
    EXPECT_EQ(flagWith({text}), 0) << text;
  }
}

TEST_F(TSLSessionConfigrationTest, OtherValuesKeepTheDefault) {
  EXPECT_EQ(flagWith({Bytes{0}}), 1);
  EXPECT_EQ(flagWith({Date{}}), 1);
  EXPECT_EQ(flagWith({PropertyListArray{}}), 1);
  EXPECT_EQ(flagWith({PropertyListDictionary{}}), 1);
}

TEST_F(TSLSessionConfigrationTest, ADamagedFileGivesTheDefaults) {
  world.files.files[kSettingsFile] = std::nullopt;
  const auto config = TSLSessionConfigration::initWithDefaultvalue();
  EXPECT_EQ(config->autoDisconnectCastingWhenCloseLaptop(), 1);
  EXPECT_EQ(config->HeartBeatTimeout(), 20.0);
}

TEST_F(TSLSessionConfigrationTest, WithoutAFileEverySessionHasTheDefaults) {
  VexCfg::sharedCfgFile()->setFileExist(false);
  VexCfg::sharedCfgFile()->setPCfgDict(std::nullopt);
  EXPECT_EQ(flagWith({false}), 1);
}

TEST_F(TSLSessionConfigrationTest, EverySettingCanBeSet) {
  const auto config = TSLSessionConfigration::initWithDefaultvalue();
  config->setHeartBeatTimeout(7.5);
  config->setAutoDisconnectCastingWhenCloseLaptop(0);
  config->setSessionSize({1280, 720});
  EXPECT_EQ(config->HeartBeatTimeout(), 7.5);
  EXPECT_EQ(config->autoDisconnectCastingWhenCloseLaptop(), 0);
  EXPECT_EQ(config->sessionSize(), (Size{1280, 720}));
}

}  // namespace
}  // namespace tessel::test
