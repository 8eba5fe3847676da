#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tessel/BVBeacon.h"
#include "tessel/Export.h"
#include "tessel/Signal.h"
#include "tessel/Types.h"

namespace tessel {

namespace platform {
class BluetoothCentral;
class SerialQueue;
}  // namespace platform

/// One of the state constants below. States are told apart by identity, never by their text.
using BVGBluetoothState = const std::string*;

/// States of Bluetooth. The texts are what observers receive.
TESSEL_EXPORT extern const BVGBluetoothState BVGBluetoothStateUnknown;
TESSEL_EXPORT extern const BVGBluetoothState BVGBluetoothStateResetting;
TESSEL_EXPORT extern const BVGBluetoothState BVGBluetoothStateUnsupported;
TESSEL_EXPORT extern const BVGBluetoothState BVGBluetoothStateUnauthorized;
TESSEL_EXPORT extern const BVGBluetoothState BVGBluetoothStatePoweredOff;
TESSEL_EXPORT extern const BVGBluetoothState BVGBluetoothStatePoweredOn;

/// A sentence for the user. Anything but one of the six constants, null included, is unknown.
TESSEL_EXPORT std::string BVBluetoothStateDescription(BVGBluetoothState state);

/// Scans for beacons while Bluetooth is on, and publishes those it receives.
///
/// The Bluetooth stack calls back on `managerQueue`, and subscribers are called there, or on a
/// thread that subscribes just then (see Signal), unless they use `deliverOn`. Any thread may call.
class TESSEL_EXPORT BVBeaconScanner {
 public:
  /// The scanner of this process, made on the first call.
  static std::shared_ptr<BVBeaconScanner> sharedBeaconScanner();
  /// An independent scanner with a central of its own. It begins to scan when the radio is on.
  static std::shared_ptr<BVBeaconScanner> init();
  ~BVBeaconScanner();

  /// Starts a scan that reports every advertisement; does nothing unless Bluetooth is on. The
  /// scanner calls it by itself whenever Bluetooth goes on. A scan that the radio refuses is tried
  /// again silently.
  void startScanning();
  /// Ends the scan until `startScanning`, or until Bluetooth goes off and on. The scanner calls it
  /// by itself when Bluetooth goes off.
  void stopScanning();

  /// Every beacon heard, whatever its proximity UUID. A new subscriber first gets the last one.
  std::shared_ptr<Signal<std::shared_ptr<BVBeacon>>> beaconSignal() const;
  /// Every state. A new subscriber first gets the current one.
  std::shared_ptr<Signal<BVGBluetoothState>> bluetoothStateSignal() const;
  /// Always null: the scanner has no housekeeping of its own.
  std::shared_ptr<Signal<Date>> housekeepingIntervalSignal() const;
  /// The last state seen; null before the first.
  BVGBluetoothState bluetoothState() const;
  /// Whether a scan was started and not stopped.
  bool scanning() const;
  /// The radio as the platform offers it, for the library's own use. Never null.
  std::shared_ptr<platform::BluetoothCentral> centralManager() const;
  /// The queue on which the radio calls back, for the library's own use. Never null.
  std::shared_ptr<platform::SerialQueue> managerQueue() const;

  /// Link Manager Protocol version of the Bluetooth controller, 0 when unknown; below 6 means no
  /// low energy. Asked once per process, which may block for up to two seconds; then remembered.
  static unsigned bluetoothLMPVersion();

 private:
  BVBeaconScanner();
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tessel
