#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/bluez/BluetoothAdvice.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::platform {
namespace {

using testing::HasSubstr;

class BluetoothAdviceTest : public testing::Test {
 protected:
  // As the kernel reports a switch: one file a value.
  void add(const std::string& name, const std::string& type, bool soft, bool hard) {
    const std::filesystem::path folder = folder_ / name;
    std::filesystem::create_directory(folder);
    std::ofstream{folder / "type"} << type << '\n';
    std::ofstream{folder / "soft"} << soft << '\n';
    std::ofstream{folder / "hard"} << hard << '\n';
  }
  std::string advice() const {
    return bluetoothAdvice(CentralState::kPoweredOff, folder_.path().string());
  }

 private:
  const test::TemporaryFolder folder_;
};

TEST_F(BluetoothAdviceTest, WithoutASwitchItIsTheDesktopsSetting) {
  EXPECT_EQ(
      advice(),
      "Turn Bluetooth on in the desktop's settings, or run: bluetoothctl power on. Casting to "
      "the address of a hub needs no Bluetooth.");
  add("rfkill0", "bluetooth", false, false);
  EXPECT_THAT(advice(), HasSubstr("bluetoothctl power on"));
}

TEST_F(BluetoothAdviceTest, AirplaneModeIsToBeTurnedOff) {
  add("rfkill3", "bluetooth", true, false);
  EXPECT_THAT(advice(), HasSubstr("Turn airplane mode off, or run: rfkill unblock bluetooth."));
}

TEST_F(BluetoothAdviceTest, ASwitchOfTheMachineComesFirst) {
  add("rfkill0", "bluetooth", true, false);
  add("rfkill1", "bluetooth", true, true);
  EXPECT_THAT(advice(),
              HasSubstr("A switch or key of this computer keeps Bluetooth off: flip it."));
}

TEST_F(BluetoothAdviceTest, TheSwitchesOfOtherRadiosDoNotMatter) {
  add("rfkill0", "wlan", true, true);
  EXPECT_THAT(advice(), HasSubstr("bluetoothctl power on"));
}

TEST_F(BluetoothAdviceTest, ARadioThatIsOnNeedsNoAdvice) {
  add("rfkill0", "bluetooth", true, true);
  EXPECT_EQ(bluetoothAdvice(CentralState::kPoweredOn), "");
}

}  // namespace
}  // namespace tessel::platform
