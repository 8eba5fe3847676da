// Prints what the scanner publishes, one line each, until standard input ends:
//
//     state BVGBluetoothStatePoweredOn
//     beacon MAJOR MINOR POWER RSSI
//     version 8
//
// Lines read: "start", "stop", "version".

#include <iostream>
#include <mutex>
#include <sstream>
#include <string>

#include "tessel/BVBeaconScanner.h"

namespace {

std::mutex mutex;  // keeps lines whole

void print(const std::string& line) {
  const std::lock_guard lock{mutex};
  std::cout << line << std::endl;
}

void printBeacon(const std::shared_ptr<tessel::BVBeacon>& beacon) {
  std::ostringstream line;
  line << "beacon " << beacon->major() << " " << beacon->minor() << " " << beacon->measuredPower()
       << " " << beacon->RSSI().value_or(0);
  print(line.str());
}

}  // namespace

int main() {
  const auto scanner = tessel::BVBeaconScanner::init();
  scanner->bluetoothStateSignal()->subscribeNext(
      [](tessel::BVGBluetoothState state) { print("state " + *state); });
  scanner->beaconSignal()->subscribeNext(printBeacon);
  std::string command;
  while (std::getline(std::cin, command)) {
    if (command == "start") scanner->startScanning();
    if (command == "stop") scanner->stopScanning();
    if (command == "version") {
      print("version " + std::to_string(tessel::BVBeaconScanner::bluetoothLMPVersion()));
    }
  }
}
