#include "tessel/BVBeaconScanner.h"

#include <atomic>
#include <cassert>
#include <functional>
#include <optional>

#include "discovery/LMPVersion.h"
#include "platform/Services.h"
#include "platform/base/Mutex.h"

namespace tessel {
namespace {

// Never destroyed: observers may still be called while the process ends.
const std::string& kUnknown = *new std::string{"BVGBluetoothStateUnknown"};
const std::string& kResetting = *new std::string{"BVGBluetoothStateResetting"};
const std::string& kUnsupported = *new std::string{"BVGBluetoothStateUnsupported"};
const std::string& kUnauthorized = *new std::string{"BVGBluetoothStateUnauthorized"};
const std::string& kPoweredOff = *new std::string{" BVGBluetoothStatePoweredOff"};
const std::string& kPoweredOn = *new std::string{"BVGBluetoothStatePoweredOn"};

constexpr const char* kManagerQueueLabel = "org.tessel.centralManagerQueue";

// The first link-layer version with low energy is 4.0, which the controller reports as 6.
constexpr unsigned kFirstLowEnergyLMPVersion = 6;

// A value made once for the Bluetooth service in force. A process has one such service; a test
// that swaps in another one gets another value.
template <typename T>
class OncePerBluetooth {
 public:
  T get(const std::function<T()>& make) {
    const platform::MutexLock lock{mutex_};
    const auto& bluetooth = platform::services().bluetooth;
    if (!value_ || owner_.lock() != bluetooth) {
      value_ = make();
      owner_ = bluetooth;
    }
    return *value_;
  }

 private:
  platform::Mutex mutex_;  // held while a value is made
  std::weak_ptr<platform::Bluetooth> owner_ TESSEL_GUARDED_BY(mutex_);
  std::optional<T> value_ TESSEL_GUARDED_BY(mutex_);
};

BVGBluetoothState mapState(platform::CentralState state) {
  switch (state) {
    case platform::CentralState::kUnknown:
      return BVGBluetoothStateUnknown;
    case platform::CentralState::kResetting:
      return BVGBluetoothStateResetting;
    case platform::CentralState::kUnsupported:
      return BVGBluetoothStateUnsupported;
    case platform::CentralState::kUnauthorized:
      return BVGBluetoothStateUnauthorized;
    case platform::CentralState::kPoweredOff:
      return BVBeaconScanner::bluetoothLMPVersion() < kFirstLowEnergyLMPVersion
                 ? BVGBluetoothStateUnsupported
                 : BVGBluetoothStatePoweredOff;
    case platform::CentralState::kPoweredOn:
      return BVGBluetoothStatePoweredOn;
  }
  return BVGBluetoothStateUnknown;
}

}  // namespace

const BVGBluetoothState BVGBluetoothStateUnknown = &kUnknown;
const BVGBluetoothState BVGBluetoothStateResetting = &kResetting;
const BVGBluetoothState BVGBluetoothStateUnsupported = &kUnsupported;
const BVGBluetoothState BVGBluetoothStateUnauthorized = &kUnauthorized;
const BVGBluetoothState BVGBluetoothStatePoweredOff = &kPoweredOff;
const BVGBluetoothState BVGBluetoothStatePoweredOn = &kPoweredOn;

std::string BVBluetoothStateDescription(BVGBluetoothState state) {
  if (state == BVGBluetoothStateUnknown) return "Blutooth state unknown.";
  if (state == BVGBluetoothStateResetting) return "Bluetooth is resetting.";
  if (state == BVGBluetoothStateUnsupported) {
    return "Your hardware does not support Bluetooth Low Energy";
  }
  if (state == BVGBluetoothStateUnauthorized) {
    return "Application not authorized to use Bluetooth Low Energy";
  }
  if (state == BVGBluetoothStatePoweredOff) return "Bluetooth is powered off";
  if (state == BVGBluetoothStatePoweredOn) return "Bluetooth is on and available";
  return "Bluetooth state unknown";
}

// The scanner as the central's delegate. Callbacks come on the manager queue; what other threads
// read is atomic, set once before the central is made, or guarded.
struct BVBeaconScanner::State : platform::CentralDelegate {
  void centralManagerDidUpdateState(platform::CentralState state) override;
  void didDiscoverPeripheral(const AdvertisementDictionary& advertisementData, int RSSI) override;
  void startScanning();
  void stopScanning();
  std::shared_ptr<platform::BluetoothCentral> centralManager() const;

  std::shared_ptr<platform::SerialQueue> managerQueue;
  const std::shared_ptr<ReplaySubject<std::shared_ptr<BVBeacon>>> beaconSignal =
      std::make_shared<ReplaySubject<std::shared_ptr<BVBeacon>>>();
  const std::shared_ptr<ReplaySubject<BVGBluetoothState>> bluetoothStateSignal =
      std::make_shared<ReplaySubject<BVGBluetoothState>>();
  std::atomic<BVGBluetoothState> bluetoothState = nullptr;
  std::atomic<bool> scanning = false;
  mutable platform::Mutex mutex;  // held while the central is made: its first callback waits
  std::shared_ptr<platform::BluetoothCentral> central TESSEL_GUARDED_BY(mutex);
};

std::shared_ptr<platform::BluetoothCentral> BVBeaconScanner::State::centralManager() const {
  const platform::MutexLock lock{mutex};
  return central;
}

void BVBeaconScanner::State::startScanning() {
  const auto manager = centralManager();
  if (manager->state() != platform::CentralState::kPoweredOn) return;
  manager->scanForPeripherals(true);
  scanning = true;
}

void BVBeaconScanner::State::stopScanning() {
  centralManager()->stopScan();
  scanning = false;
}

void BVBeaconScanner::State::centralManagerDidUpdateState(platform::CentralState state) {
  assert(managerQueue->isCurrent());
  const BVGBluetoothState mapped = mapState(state);
  if (mapped == BVGBluetoothStatePoweredOn) {
    if (!scanning) startScanning();
  } else if (scanning) {
    stopScanning();
  }
  bluetoothState = mapped;
  bluetoothStateSignal->sendNext(mapped);
}

void BVBeaconScanner::State::didDiscoverPeripheral(const AdvertisementDictionary& advertisementData,
                                                   int RSSI) {
  assert(managerQueue->isCurrent());
  const auto beacon = BVBeacon::beaconWithAdvertismentDataDictionary(advertisementData);
  if (!beacon) return;
  beacon->setRSSI(RSSI);
  beaconSignal->sendNext(beacon);
}

BVBeaconScanner::BVBeaconScanner() : state_{std::make_shared<State>()} {}

BVBeaconScanner::~BVBeaconScanner() = default;

std::shared_ptr<BVBeaconScanner> BVBeaconScanner::sharedBeaconScanner() {
  // Never destroyed: the radio's callbacks may come while the process exits.
  static auto& shared = *new OncePerBluetooth<std::shared_ptr<BVBeaconScanner>>;
  return shared.get([] { return init(); });
}

std::shared_ptr<BVBeaconScanner> BVBeaconScanner::init() {
  std::shared_ptr<BVBeaconScanner> scanner{new BVBeaconScanner};
  State& state = *scanner->state_;
  const auto& services = platform::services();
  state.managerQueue = services.queues->makeSerialQueue(kManagerQueueLabel);
  const platform::MutexLock lock{state.mutex};
  state.central = services.bluetooth->makeCentral(scanner->state_, state.managerQueue);
  return scanner;
}

void BVBeaconScanner::startScanning() { state_->startScanning(); }

void BVBeaconScanner::stopScanning() { state_->stopScanning(); }

std::shared_ptr<Signal<std::shared_ptr<BVBeacon>>> BVBeaconScanner::beaconSignal() const {
  return state_->beaconSignal;
}

std::shared_ptr<Signal<BVGBluetoothState>> BVBeaconScanner::bluetoothStateSignal() const {
  return state_->bluetoothStateSignal;
}

std::shared_ptr<Signal<Date>> BVBeaconScanner::housekeepingIntervalSignal() const {
  return nullptr;
}

BVGBluetoothState BVBeaconScanner::bluetoothState() const { return state_->bluetoothState; }

bool BVBeaconScanner::scanning() const { return state_->scanning; }

std::shared_ptr<platform::BluetoothCentral> BVBeaconScanner::centralManager() const {
  return state_->centralManager();
}

std::shared_ptr<platform::SerialQueue> BVBeaconScanner::managerQueue() const {
  return state_->managerQueue;
}

unsigned BVBeaconScanner::bluetoothLMPVersion() {
  static auto& version = *new OncePerBluetooth<unsigned>;
  return version.get(
      [] { return parseLMPVersion(platform::services().bluetooth->lmpVersionReport()); });
}

}  // namespace tessel
