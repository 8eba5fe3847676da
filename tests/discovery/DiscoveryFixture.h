#pragma once

#include <functional>
#include <gmock/gmock.h>

#include "tessel/BVBeaconScanner.h"
#include "tessel/TSLDiscovery.h"
#include "tests/discovery/Adverts.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {

inline constexpr std::uint16_t kMajor = 0xC0A8;
inline constexpr std::uint16_t kMinor = 0x0164;
inline constexpr const char* kURL = "http://192.168.1.100:55555/device-details.xml";

inline std::string details(const std::string& name) {
  return "<device><friendlyName>" + name + "</friendlyName></device>";
}

class TSLDiscoveryTest : public testing::Test {
 protected:
  void hear(const Bytes& data, int RSSI = -50) {
    central->hear(data, RSSI);
    world.run();
  }
  void hearHub(int RSSI = -50) { hear(hubAdvert(kMajor, kMinor), RSSI); }
  // Answers the last request.
  void answer(const std::string& body, long status = 200) {
    world.http.last()->respond(body, {}, status);
    world.run();
  }
  std::shared_ptr<BVBeacon> entry(std::size_t row = 0) { return discovery->beacons().at(row); }
  std::vector<std::string> urls() {
    std::vector<std::string> list;
    for (const auto& exchange : world.http.requests) list.push_back(exchange->request.url);
    return list;
  }
  void observe() {
    discovery->observeBeacons([this](const BeaconListChange& change) {
      static const char* const kKinds[] = {"insertion", "removal", "update"};
      changes.push_back(std::string{kKinds[static_cast<int>(change.kind)]} + " " +
                        std::to_string(change.index));
      onMainQueue = onMainQueue && world.scheduler.mainQueue()->isCurrent();
    });
  }

  // Runs `task` on the main queue, to which the list's changes belong.
  void onMain(std::function<void()> task) {
    world.scheduler.mainQueue()->async(std::move(task));
    world.run();
  }
  // Occupies the main queue that long.
  void keepMainQueueBusy(platform::Clock::Duration duration) {
    world.scheduler.mainQueue()->async([this, duration] { world.scheduler.sleep(duration); });
    world.run();
  }

  SimWorld world;
  std::shared_ptr<TSLDiscovery> discovery = TSLDiscovery::init();
  std::shared_ptr<FakeCentral> central = world.bluetooth.last();
  std::vector<std::string> changes;
  bool onMainQueue = true;
};

}  // namespace tessel::test
