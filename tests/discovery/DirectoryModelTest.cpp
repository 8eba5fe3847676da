#include <algorithm>
#include <gmock/gmock.h>
#include <random>

#include "tessel/TSLDiscovery.h"
#include "tests/discovery/Adverts.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kStep = 100ms;
constexpr auto kTick = 2s;
constexpr auto kExpiry = 15s;
constexpr std::uint16_t kHubMajor = 0x0A01;
constexpr int kHubs = 25;

// The list as it should be: minors in the order of discovery, with the time last heard.
struct Model {
  struct Row {
    std::uint16_t minor;
    Date heard;
  };
  std::vector<Row> rows;

  void hear(std::uint16_t minor, Date now) {
    const auto row = std::ranges::find(rows, minor, &Row::minor);
    if (row == rows.end()) {
      rows.push_back({minor, now});
    } else {
      row->heard = now;
    }
  }
  void tick(Date now) {
    std::erase_if(rows, [now](const Row& row) { return now - row.heard > kExpiry; });
  }
  std::vector<std::uint16_t> minors() const {
    std::vector<std::uint16_t> list;
    for (const auto& row : rows) list.push_back(row.minor);
    return list;
  }
};

// A host's table that follows the changes reported to it.
struct Table {
  std::vector<std::uint16_t> minors;

  void apply(const BeaconListChange& change) {
    const auto at = minors.begin() + static_cast<std::ptrdiff_t>(change.index);
    switch (change.kind) {
      case BeaconListChange::Kind::kInsertion:
        minors.insert(at, change.beacon->minor());
        break;
      case BeaconListChange::Kind::kRemoval:
        EXPECT_EQ(*at, change.beacon->minor());
        minors.erase(at);
        break;
      case BeaconListChange::Kind::kUpdate:
        EXPECT_EQ(*at, change.beacon->minor());
        break;
    }
  }
};

std::vector<std::uint16_t> minorsOf(const TSLDiscovery& discovery) {
  std::vector<std::uint16_t> list;
  for (const auto& beacon : discovery.beacons()) list.push_back(beacon->minor());
  return list;
}

TEST(DirectoryModelTest, HubsComeAndGoAtRandomForTenMinutes) {
  SimWorld world;
  const auto discovery = TSLDiscovery::init();
  const auto central = world.bluetooth.last();
  world.http.onRequest = [](SimExchange& exchange) {
    exchange.respond("<d><friendlyName>Room</friendlyName></d>");
  };
  Table table;
  discovery->observeBeacons([&table](const BeaconListChange& change) { table.apply(change); });

  Model model;
  std::mt19937 random{20240229};
  const auto oneIn = [&random](unsigned n) { return random() % n == 0; };
  std::vector<bool> inRange(kHubs);
  const Date start = world.now();
  while (world.now() - start < 600s) {
    world.advance(kStep);
    if ((world.now() - start) % kTick == 0s) model.tick(world.now());
    for (int hub = 0; hub < kHubs; ++hub) {
      if (oneIn(300)) inRange[hub] = !inRange[hub];
      if (!inRange[hub] || !oneIn(40)) continue;  // heard every four seconds or so
      const auto minor = static_cast<std::uint16_t>(0x0201 + hub);
      central->hear(hubAdvert(kHubMajor, minor), -50);
      model.hear(minor, world.now());
    }
    world.run();
    ASSERT_EQ(minorsOf(*discovery), model.minors()) << "at " << (world.now() - start) / 1s << " s";
    ASSERT_EQ(table.minors, model.minors());
  }
}

}  // namespace
}  // namespace tessel::test
