#include "discovery/BluetoothFinding.h"

#include <chrono>
#include <memory>

#include "platform/Services.h"
#include "platform/base/Group.h"
#include "tessel/BVBeaconScanner.h"

namespace tessel {
namespace {

using platform::CentralState;
using platform::services;

constexpr std::chrono::seconds kAnswerTimeout{2};

// The radio's state as the scanner maps it: an old controller that is off counts as one without low
// energy.
CentralState centralState(BVGBluetoothState state) {
  if (state == BVGBluetoothStateResetting) return CentralState::kResetting;
  if (state == BVGBluetoothStateUnsupported) return CentralState::kUnsupported;
  if (state == BVGBluetoothStateUnauthorized) return CentralState::kUnauthorized;
  if (state == BVGBluetoothStatePoweredOff) return CentralState::kPoweredOff;
  if (state == BVGBluetoothStatePoweredOn) return CentralState::kPoweredOn;
  return CentralState::kUnknown;
}

}  // namespace

Finding findBluetooth() {
  const auto scanner = BVBeaconScanner::init();
  const auto unknown = std::make_shared<platform::Group>(*services().clock);
  unknown->enter();
  scanner->bluetoothStateSignal()->subscribeNext([unknown](BVGBluetoothState state) {
    if (state != BVGBluetoothStateUnknown) unknown->leave();
  });
  unknown->wait(kAnswerTimeout);
  BVGBluetoothState state = scanner->bluetoothState();
  if (!state) state = BVGBluetoothStateUnknown;
  return {"bluetooth", state == BVGBluetoothStatePoweredOn, BVBluetoothStateDescription(state),
          services().bluetooth->advice(centralState(state))};
}

}  // namespace tessel
