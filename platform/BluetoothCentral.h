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

/// Receives the radio's events, on the queue given at creation.
class CentralDelegate {
 public:
  virtual ~CentralDelegate() = default;
  /// The first call reports the state at the start; then one for every change.
  virtual void centralManagerDidUpdateState(CentralState state) = 0;
  /// One structure of manufacturer data, of any company; an advertisement may have several. `RSSI`
  /// in dBm; 127 when the radio does not report it.
  virtual void didDiscoverPeripheral(const AdvertisementDictionary& advertisementData,
                                     int RSSI) = 0;
};

/// The radio, which receives low-energy advertisements. Any thread. Its end ends the scan; an event
/// that is queued may still be delivered.
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

  /// The controller's link-layer version as the system reports it: a hexadecimal number such as
  /// "0x6", empty when unknown. May block for up to two seconds.
  virtual std::string lmpVersionReport() = 0;

  /// What to do on this system about a radio in that state; empty when nothing needs doing.
  virtual std::string advice(CentralState state) = 0;
};

}  // namespace tessel::platform
