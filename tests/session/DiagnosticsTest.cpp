#include <gmock/gmock.h>

#include "tessel/Diagnostics.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

using platform::CentralState;
using namespace std::chrono_literals;
using testing::ElementsAre;

class DiagnosticsTest : public testing::Test {
 protected:
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

TEST_F(DiagnosticsTest, AConfigurationThatIsMissingOrDamagedIsToldApart) {
  world.files.folders.insert("/Users/Shared/Lumisk");
  world.files.files["/Users/Shared/Lumisk/VexCfg.plist"] = std::nullopt;
  auto finding = diagnoseWith({CentralState::kPoweredOn}).back();
  EXPECT_FALSE(finding.usable);
  EXPECT_THAT(finding.sentence, testing::HasSubstr("is damaged"));
  world.files.files.clear();
  world.files.folders.clear();
  world.files.createFailure = Error{"posix", 13, "Permission denied"};
  finding = diagnoseWith({CentralState::kPoweredOn}).back();
  EXPECT_FALSE(finding.usable);
  EXPECT_THAT(finding.sentence, testing::HasSubstr("There is no configuration file"));
}

}  // namespace
}  // namespace tessel::test
