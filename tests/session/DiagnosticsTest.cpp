#include <gmock/gmock.h>

#include "tessel/Diagnostics.h"
#include "tessel/VexCfg.h"
#include "tests/session/SettingsFile.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

using platform::CentralState;
using namespace std::chrono_literals;
using testing::ElementsAre;

class DiagnosticsTest : public testing::Test {
 protected:
  // The shared file outlives a test's world: each test begins with one that exists.
  DiagnosticsTest() {
    VexCfg::sharedCfgFile()->setFileExist(true);
    world.files.files[kSettingsFile] = PropertyListDictionary{{kAutoDisconnectKey, {true}}};
    VexCfg::sharedCfgFile()->loadCfgFile();
  }
  ~DiagnosticsTest() override {
    VexCfg::sharedCfgFile()->setFileExist(true);
    VexCfg::sharedCfgFile()->setFileModified(false);
  }

  // Looks at the machine while its radio tells each of these states.
  std::vector<Finding> diagnoseWith(const std::vector<CentralState>& states) {
    std::vector<Finding> findings;
    const auto caller = platform::services().queues->makeSerialQueue("caller");
    caller->async([&findings] { findings = diagnose(); });
    world.run();
    const auto central = world.bluetooth.last();
    for (const CentralState state : states) central->enter(state);
    world.run();
    if (findings.empty()) {
      world.advance(2s);
      gaveUp = true;
    }
    return findings;
  }
  Finding bluetoothWith(const std::vector<CentralState>& states) {
    return diagnoseWith(states).at(3);
  }

  SimWorld world;
  bool gaveUp = false;
};

TEST_F(DiagnosticsTest, EachAreaIsLookedAtOnceInItsOrder) {
  world.desktop.inputFound = {"input", false, "No input.", "Do this."};
  const auto findings = diagnoseWith({CentralState::kPoweredOn});
  std::vector<std::string> areas;
  for (const Finding& finding : findings) areas.push_back(finding.area);
  EXPECT_THAT(areas, ElementsAre("screen", "encoder", "input", "bluetooth", "configuration"));
  EXPECT_TRUE(findings.at(0).usable);
  EXPECT_FALSE(findings.at(2).usable);
  EXPECT_EQ(findings.at(2).sentence, "No input.");
  EXPECT_EQ(findings.at(2).advice, "Do this.");
}

TEST_F(DiagnosticsTest, ARadioThatIsOnIsUsable) {
  const auto finding = bluetoothWith({CentralState::kPoweredOn});
  EXPECT_TRUE(finding.usable);
  EXPECT_EQ(finding.sentence, "Bluetooth is on and available");
  EXPECT_FALSE(gaveUp);
}

TEST_F(DiagnosticsTest, ARadioInAnotherStateIsNotUsableAndComesWithTheSystemsAdvice) {
  for (const auto& [state, sentence] :
       {std::pair{CentralState::kResetting, "Bluetooth is resetting."},
        {CentralState::kUnsupported, "Your hardware does not support Bluetooth Low Energy"},
        {CentralState::kUnauthorized, "Application not authorized to use Bluetooth Low Energy"},
        {CentralState::kPoweredOff, "Bluetooth is powered off"}}) {
    const auto finding = bluetoothWith({state});
    EXPECT_FALSE(finding.usable);
    EXPECT_EQ(finding.sentence, sentence);
    EXPECT_EQ(finding.advice, "advice " + std::to_string(static_cast<int>(state)));
    EXPECT_FALSE(gaveUp);
  }
}

TEST_F(DiagnosticsTest, AnOldRadioThatIsOffIsOneWithoutLowEnergy) {
  world.bluetooth.lmpReport = "0x5";
  const auto finding = bluetoothWith({CentralState::kPoweredOff});
  EXPECT_EQ(finding.sentence, "Your hardware does not support Bluetooth Low Energy");
  EXPECT_EQ(finding.advice, "advice 2");
}

TEST_F(DiagnosticsTest, AnUnknownStateIsNoAnswerYet) {
  EXPECT_TRUE(bluetoothWith({CentralState::kUnknown, CentralState::kPoweredOn}).usable);
  EXPECT_FALSE(gaveUp);
}

TEST_F(DiagnosticsTest, ARadioThatDoesNotAnswerIsGivenUpAfterTwoSeconds) {
  const auto finding = bluetoothWith({});
  EXPECT_TRUE(gaveUp);
  EXPECT_FALSE(finding.usable);
  EXPECT_EQ(finding.sentence, "Blutooth state unknown.");
  EXPECT_EQ(finding.advice, "advice 0");
}

TEST_F(DiagnosticsTest, TheConfigurationFileIsNamed) {
  const auto finding = diagnoseWith({CentralState::kPoweredOn}).back();
  EXPECT_TRUE(finding.usable);
  EXPECT_EQ(finding.sentence, "The configuration file is /Users/Shared/Lumisk/VexCfg.plist.");
  EXPECT_EQ(finding.advice, "");
}

TEST_F(DiagnosticsTest, ADamagedConfigurationFileIsTold) {
  world.files.files[kSettingsFile] = std::nullopt;
  const auto finding = diagnoseWith({CentralState::kPoweredOn}).back();
  EXPECT_FALSE(finding.usable);
  EXPECT_THAT(finding.sentence, testing::HasSubstr("is damaged"));
}

TEST_F(DiagnosticsTest, ARemovedConfigurationFileIsToldAndNotMadeAgain) {
  world.files.files.erase(kSettingsFile);
  const auto finding = diagnoseWith({CentralState::kPoweredOn}).back();
  EXPECT_FALSE(finding.usable);
  EXPECT_THAT(finding.sentence, testing::HasSubstr("There is no configuration file"));
  EXPECT_THAT(finding.advice, testing::HasSubstr("at the next start"));
  EXPECT_FALSE(world.files.files.contains(kSettingsFile));
}

// As sessions do for the rest of this process.
TEST_F(DiagnosticsTest, WhatCouldNotBeMadeOnFirstUseIsNotUsedLaterEither) {
  VexCfg::sharedCfgFile()->setFileExist(false);
  const auto finding = diagnoseWith({CentralState::kPoweredOn}).back();
  EXPECT_FALSE(finding.usable);
  EXPECT_THAT(finding.sentence, testing::HasSubstr("There is no configuration file"));
  EXPECT_THAT(finding.advice, testing::HasSubstr("Make the folder writable"));
}

TEST_F(DiagnosticsTest, ChangesOfTheHostThatAreNotSavedStay) {
  const auto file = VexCfg::sharedCfgFile();
  file->setObjectByKey(kAutoDisconnectKey, PropertyListValue{false});
  EXPECT_TRUE(diagnoseWith({CentralState::kPoweredOn}).back().usable);
  EXPECT_TRUE(file->fileModified());
  EXPECT_EQ(file->getObjectByKey(kAutoDisconnectKey), PropertyListValue{false});
}

}  // namespace
}  // namespace tessel::test
