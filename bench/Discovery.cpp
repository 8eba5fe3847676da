// What listening costs: 200 hubs that together are heard 1000 times a second, in real time, through
// the scanner and the hub directory on the library's own queues. Prints the share of one core that
// the process took; fails when that is 5 % or more.

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "bench/CpuTime.h"
#include "platform/Services.h"
#include "tessel/MainQueue.h"
#include "tessel/TSLDiscovery.h"

namespace {

using namespace tessel;
using namespace std::chrono_literals;

constexpr int kHubs = 200;
constexpr int kPerSecond = 1000;
constexpr int kSeconds = 10;
constexpr double kLimitPercent = 5;

// A radio on which the benchmark speaks.
class Radio final : public platform::BluetoothCentral {
 public:
  Radio(std::weak_ptr<platform::CentralDelegate> delegate,
        std::shared_ptr<platform::SerialQueue> queue)
      : delegate_{std::move(delegate)}, queue_{std::move(queue)} {}

  platform::CentralState state() const override { return platform::CentralState::kPoweredOn; }
  void scanForPeripherals(bool) override {}
  void stopScan() override {}

  void hear(const Bytes& data, int RSSI) {
    queue_->async([delegate = delegate_, data, RSSI] {
      if (const auto strong = delegate.lock()) {
        strong->didDiscoverPeripheral({{CBAdvertisementDataManufacturerDataKey, data}}, RSSI);
      }
    });
  }

 private:
  const std::weak_ptr<platform::CentralDelegate> delegate_;
  const std::shared_ptr<platform::SerialQueue> queue_;
};

class Radios final : public platform::Bluetooth {
 public:
  std::shared_ptr<platform::BluetoothCentral> makeCentral(
      const std::weak_ptr<platform::CentralDelegate>& delegate,
      const std::shared_ptr<platform::SerialQueue>& queue) override {
    radio = std::make_shared<Radio>(delegate, queue);
    return radio;
  }
  std::string lmpVersionReport() override { return "0x8"; }
  std::string advice(platform::CentralState /*state*/) override { return {}; }

  std::shared_ptr<Radio> radio;
};

// Hubs that tell their names at once.
class Details final : public platform::URLSessions {
 public:
  explicit Details(std::shared_ptr<platform::SerialQueue> queue) : queue_{std::move(queue)} {}

  std::shared_ptr<URLSession> makeSession(
      std::optional<platform::Clock::Duration> /*requestTimeout*/) override {
    return std::make_shared<Session>(queue_);
  }

 private:
  class Session final : public URLSession {
   public:
    explicit Session(std::shared_ptr<platform::SerialQueue> queue) : queue_{std::move(queue)} {}
    void dataTask(const URLRequest&, Completion completion) override {
      queue_->async([completion = std::move(completion)] {
        static const std::string kBody = "<device><friendlyName>Room</friendlyName></device>";
        completion({kBody.begin(), kBody.end()}, {}, std::nullopt);
      });
    }

   private:
    const std::shared_ptr<platform::SerialQueue> queue_;
  };

  const std::shared_ptr<platform::SerialQueue> queue_;
};

std::vector<Bytes> advertisements() {
  std::vector<Bytes> list;
  for (int hub = 0; hub < kHubs; ++hub) {
    const auto beacon = BVBeacon::initWithProximityUUID(
        TSLHubProximityUUID, 0x0A01, static_cast<std::uint16_t>(0x0201 + hub), -59);
    Bytes data{0x4C, 0x00, 0x02, 0x15};
    const Bytes identity = beacon->manufacturerAdvertismentData();
    data.insert(data.end(), identity.begin(), identity.end());
    list.push_back(std::move(data));
  }
  return list;
}

}  // namespace

int main() {
  platform::Services services = platform::services();
  const auto radios = std::make_shared<Radios>();
  services.bluetooth = radios;
  services.urlSessions = std::make_shared<Details>(services.queues->makeSerialQueue("details"));
  const platform::ScopedServices scope{services};

  const auto discovery = TSLDiscovery::init();
  long updates = 0;
  discovery->observeBeacons([&updates](const BeaconListChange&) { ++updates; });
  const auto data = advertisements();
  const auto before = bench::processTime();
  std::thread air{[&radios, &data] {
    // In batches of a hundredth of a second, as a bus hands them on.
    constexpr int kBatch = kPerSecond / 100;
    auto due = std::chrono::steady_clock::now();
    for (int sent = 0; sent < kPerSecond * kSeconds; sent += kBatch) {
      for (int i = 0; i < kBatch; ++i) {
        radios->radio->hear(data[static_cast<std::size_t>((sent + i) % kHubs)], -50 - sent % 40);
      }
      std::this_thread::sleep_until(due += 10ms);
    }
    stopMainQueue();
  }};
  runMainQueue();
  air.join();
  const double percent = 100 * (bench::processTime() - before) / std::chrono::seconds{kSeconds};
  std::printf(
      "discovery: %d advertisements a second of %d hubs for %d s: %.2f %% of one core "
      "(limit %.0f %%), %zu hubs listed, %ld changes told\n",
      kPerSecond, kHubs, kSeconds, percent, kLimitPercent, discovery->beacons().size(), updates);
  return percent < kLimitPercent && discovery->beacons().size() == kHubs ? 0 : 1;
}
