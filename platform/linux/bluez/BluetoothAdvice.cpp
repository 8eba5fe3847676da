#include "platform/linux/bluez/BluetoothAdvice.h"

#include <fstream>
#include <string>

namespace tessel::platform {
namespace {

constexpr const char* kWithoutBluetooth = " Casting to the address of a hub needs no Bluetooth.";

std::string firstLine(const std::string& path) {
  std::ifstream file{path};
  std::string line;
  std::getline(file, line);
  return line;
}

enum class Switch { kNone, kSoft, kHard };

// What keeps the Bluetooth radio off: a setting (airplane mode), or a switch of the machine.
Switch blockedBy(const std::string& switches) {
  constexpr int kMaxSwitches = 64;
  Switch found = Switch::kNone;
  for (int i = 0; i < kMaxSwitches; ++i) {
    const std::string folder = switches + "/rfkill" + std::to_string(i);
    if (firstLine(folder + "/type") != "bluetooth") continue;
    if (firstLine(folder + "/hard") == "1") return Switch::kHard;
    if (firstLine(folder + "/soft") == "1") found = Switch::kSoft;
  }
  return found;
}

std::string adviceWhenOff(const std::string& switches) {
  switch (blockedBy(switches)) {
    case Switch::kHard:
      return "A switch or key of this computer keeps Bluetooth off: flip it";
    case Switch::kSoft:
      return "Turn airplane mode off, or run: rfkill unblock bluetooth";
    case Switch::kNone:
      break;
  }
  return "Turn Bluetooth on in the desktop's settings, or run: bluetoothctl power on";
}

}  // namespace

std::string bluetoothAdvice(CentralState state, const std::string& switches) {
  switch (state) {
    case CentralState::kPoweredOn:
      return {};
    case CentralState::kPoweredOff:
      return adviceWhenOff(switches) + "." + kWithoutBluetooth;
    case CentralState::kUnauthorized:
      return std::string{
                 "Ask the administrator to let this user speak to org.bluez on the system bus "
                 "(often by membership of the group bluetooth)."} +
             kWithoutBluetooth;
    case CentralState::kUnsupported:
      return std::string{
                 "Plug in a Bluetooth adapter of version 4.0 or newer; if there is one, check that "
                 "the Bluetooth service runs: systemctl status bluetooth."} +
             kWithoutBluetooth;
    case CentralState::kUnknown:
    case CentralState::kResetting:
      break;
  }
  return std::string{
             "Try again in a moment; if that does not help, look at: systemctl status bluetooth."} +
         kWithoutBluetooth;
}

}  // namespace tessel::platform
