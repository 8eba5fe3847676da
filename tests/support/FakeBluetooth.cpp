#include "tests/support/FakeBluetooth.h"

#include <utility>

namespace tessel::test {

FakeCentral::FakeCentral(std::weak_ptr<platform::CentralDelegate> delegate,
                         std::shared_ptr<platform::SerialQueue> queue)
    : delegate_{std::move(delegate)}, queue_{std::move(queue)} {}

void FakeCentral::enter(platform::CentralState state) {
  state_ = state;
  queue_->async([delegate = delegate_, state] {
    if (const auto strong = delegate.lock()) strong->centralManagerDidUpdateState(state);
  });
}

void FakeCentral::hear(const AdvertisementDictionary& data, int RSSI) {
  queue_->async([delegate = delegate_, data, RSSI] {
    if (const auto strong = delegate.lock()) strong->didDiscoverPeripheral(data, RSSI);
  });
}

void FakeCentral::hear(const Bytes& manufacturerData, int RSSI) {
  hear(AdvertisementDictionary{{CBAdvertisementDataManufacturerDataKey, manufacturerData}}, RSSI);
}

void FakeCentral::scanForPeripherals(bool allowDuplicates) {
  calls.emplace_back(allowDuplicates ? "scan duplicates" : "scan");
}

std::shared_ptr<FakeCentral> FakeBluetooth::last() const {
  return centrals.empty() ? nullptr : centrals.back();
}

std::shared_ptr<platform::BluetoothCentral> FakeBluetooth::makeCentral(
    const std::weak_ptr<platform::CentralDelegate>& delegate,
    const std::shared_ptr<platform::SerialQueue>& queue) {
  auto central = std::make_shared<FakeCentral>(delegate, queue);
  centrals.push_back(central);
  return central;
}

std::string FakeBluetooth::lmpVersionReport() {
  ++lmpReports;
  return lmpReport;
}

}  // namespace tessel::test
