#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <string>

#include "platform/linux/Findings.h"
#include "tessel/BVBeaconScanner.h"

namespace tessel::platform {
namespace {

using std::chrono_literals::operator""s;

constexpr auto kPatience = 2s;
constexpr const char* kWithoutBluetooth = " Casting to the address of a hub needs no Bluetooth.";

std::string firstLine(const std::string& path) {
  std::ifstream file{path};
  std::string line;
  std::getline(file, line);
  return line;
}

enum class Switch { none, soft, hard };

// What keeps the Bluetooth radio off: a setting (airplane mode), or a switch of the machine.
Switch blockedBy() {
  constexpr int kMostSwitches = 64;
  Switch found = Switch::none;
  for (int i = 0; i < kMostSwitches; ++i) {
    const std::string folder = "/sys/class/rfkill/rfkill" + std::to_string(i);
    if (firstLine(folder + "/type") != "bluetooth") continue;
    if (firstLine(folder + "/hard") == "1") return Switch::hard;
    if (firstLine(folder + "/soft") == "1") found = Switch::soft;
  }
  return found;
}

std::string adviceWhenOff() {
  switch (blockedBy()) {
    case Switch::hard:
      return "A switch or key of this computer keeps Bluetooth off: flip it";
    case Switch::soft:
      return "Turn airplane mode off, or run: rfkill unblock bluetooth";
    case Switch::none:
      break;
  }
  return "Turn Bluetooth on in the desktop's settings, or run: bluetoothctl power on";
}

std::string advice(BVGBluetoothState state) {
  if (state == BVGBluetoothStatePoweredOn) return {};
  if (state == BVGBluetoothStatePoweredOff) return adviceWhenOff() + "." + kWithoutBluetooth;
  if (state == BVGBluetoothStateUnauthorized) {
    return std::string{
               "Ask the administrator to let this user speak to org.bluez on the system bus "
               "(often by membership of the group bluetooth)."} +
           kWithoutBluetooth;
  }
  if (state == BVGBluetoothStateUnsupported) {
    return std::string{
               "Plug in a Bluetooth adapter of version 4.0 or newer; if there is one, check that "
               "the Bluetooth service runs: systemctl status bluetooth."} +
           kWithoutBluetooth;
  }
  return std::string{
             "Try again in a moment; if that does not help, look at: systemctl status bluetooth."} +
         kWithoutBluetooth;
}

}  // namespace

Finding findBluetooth() {
  struct Answer {
    std::mutex mutex;  // guards state
    std::condition_variable changed;
    BVGBluetoothState state = BVGBluetoothStateUnknown;
  };
  const auto answer = std::make_shared<Answer>();
  const auto scanner = BVBeaconScanner::init();
  scanner->bluetoothStateSignal()->subscribeNext([answer](BVGBluetoothState state) {
    const std::lock_guard lock{answer->mutex};
    answer->state = state;
    answer->changed.notify_all();
  });
  std::unique_lock lock{answer->mutex};
  answer->changed.wait_for(lock, kPatience,
                           [&answer] { return answer->state != BVGBluetoothStateUnknown; });
  const BVGBluetoothState state = answer->state;
  return {"bluetooth", state == BVGBluetoothStatePoweredOn, BVBluetoothStateDescription(state),
          advice(state)};
}

}  // namespace tessel::platform
