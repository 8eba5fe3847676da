#pragma once

#include <memory>
#include <string>

#include "tessel/Advertisement.h"

namespace tessel::platform {

class SerialQueue;

/// States of the Bluetooth radio, by the numbers that the scanner maps.
enum class CentralState : int {
  kUnknown = 0,
  kResetting = 1,
  kUnsupported = 2,
  kUnauthorized = 3,
  kPoweredOff = 4,
  kPoweredOn = 5,
};

/// Hears from the radio, on the queue given at creation.
class CentralDelegate {
 public:
  virtual ~CentralDelegate() = default;
  /// The first call tells the state at the start; then one for every change.
  virtual void centralManagerDidUpdateState(CentralState state) = 0;
  /// One advertisement. `RSSI` in dBm; 127 when the radio does not tell it.
  virtual void didDiscoverPeripheral(const AdvertisementDictionary& advertisementData,
                                     int RSSI) = 0;
};

/// The radio, listening for low-energy advertisements. Any thread. Dropping it ends everything.
class BluetoothCentral {
 public:
  virtual ~BluetoothCentral() = default;
  virtual CentralState state() const = 0;
  /// Scans for all peripherals; with duplicates every advertisement is reported. A scan lasts
  /// until `stopScan` or the end of the powered-on state.
  virtual void scanForPeripherals(bool allowDuplicates) = 0;
  virtual void stopScan() = 0;
};

class Bluetooth {
 public:
  virtual ~Bluetooth() = default;

  virtual std::shared_ptr<BluetoothCentral> makeCentral(
      const std::weak_ptr<CentralDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) = 0;

  /// What the system reports of the controller's link-layer version: a hexadecimal number such as
  /// "0x6", empty when it cannot be told. May block for a moment.
  virtual std::string lmpVersionReport() = 0;

  /// What to do on this system about a radio in that state; empty when nothing needs doing.
  virtual std::string advice(CentralState state) = 0;
};

}  // namespace tessel::platform
