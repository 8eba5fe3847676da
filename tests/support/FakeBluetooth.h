#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/BluetoothCentral.h"
#include "platform/Queues.h"

namespace tessel::test {

/// A radio that the test plays.
class FakeCentral final : public platform::BluetoothCentral {
 public:
  FakeCentral(std::weak_ptr<platform::CentralDelegate> delegate,
              std::shared_ptr<platform::SerialQueue> queue);

  std::vector<std::string> calls;  ///< "scan duplicates", "scan", "stop" in order

  /// Changes the state and tells the delegate on its queue.
  void enter(platform::CentralState state);
  /// One advertisement.
  void hear(const AdvertisementDictionary& data, int RSSI);
  /// One advertisement with manufacturer data only.
  void hear(const Bytes& manufacturerData, int RSSI);

  platform::CentralState state() const override { return state_; }
  void scanForPeripherals(bool allowDuplicates) override;
  void stopScan() override { calls.emplace_back("stop"); }

 private:
  const std::weak_ptr<platform::CentralDelegate> delegate_;
  const std::shared_ptr<platform::SerialQueue> queue_;
  platform::CentralState state_ = platform::CentralState::kUnknown;
};

class FakeBluetooth final : public platform::Bluetooth {
 public:
  std::vector<std::shared_ptr<FakeCentral>> centrals;
  std::string lmpReport = "0x8";
  int lmpReports = 0;

  std::shared_ptr<FakeCentral> last() const;
  std::shared_ptr<platform::BluetoothCentral> makeCentral(
      const std::weak_ptr<platform::CentralDelegate>& delegate,
      const std::shared_ptr<platform::SerialQueue>& queue) override;
  std::string lmpVersionReport() override;
  /// "advice 4" for a radio that is off, and so on.
  std::string advice(platform::CentralState state) override {
    return "advice " + std::to_string(static_cast<int>(state));
  }
};

}  // namespace tessel::test
