#include "apps/tessel/Discover.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "apps/common/TerminalText.h"
#include "apps/tessel/Hub.h"
#include "apps/tessel/HubReport.h"
#include "tessel/BVBeaconScanner.h"
#include "tessel/OperationQueue.h"
#include "tessel/TSLDiscovery.h"

namespace tessel::apps {
namespace {

constexpr std::chrono::milliseconds kRedraw{500};
// Every hub in range is found in a few seconds.
constexpr std::chrono::seconds kQuietTimeout{10};
constexpr std::size_t kMaxNameLength = 64;
constexpr int kStrengthUnknown = 127;  // reported by a controller that does not know it

std::optional<EventLoop::Duration> milliseconds(std::optional<double> seconds) {
  if (!seconds) return std::nullopt;
  return std::chrono::duration_cast<EventLoop::Duration>(Seconds{*seconds});
}

// None for a beacon whose numbers are no address.
std::optional<Hub> hubOf(const BVBeacon& beacon) {
  const auto address = beacon.IPAddr();
  if (!address) return std::nullopt;
  const auto rssi = beacon.RSSI();
  return Hub{*address, beacon.friendlyName(),
             rssi && *rssi != kStrengthUnknown ? rssi : std::nullopt, beacon.lastUpdated()};
}

std::vector<Hub> hubsOf(const TSLDiscovery& discovery) {
  std::vector<Hub> hubs;
  for (const auto& beacon : discovery.beacons()) {
    if (auto hub = hubOf(*beacon)) hubs.push_back(std::move(*hub));
  }
  return hubs;
}

// Calls `next` on the main queue with every state of Bluetooth, the present one first.
void followBluetooth(std::function<void(BVGBluetoothState)> next) {
  BVBeaconScanner::sharedBeaconScanner()
      ->bluetoothStateSignal()
      ->deliverOn(OperationQueue::mainQueue())
      ->subscribeNext(std::move(next));
}

// With a pointer to the doctor where Bluetooth cannot be used.
std::string sentenceFor(BVGBluetoothState state) {
  std::string sentence = BVBluetoothStateDescription(state);
  if (state == BVGBluetoothStatePoweredOn) return sentence;
  return sentence + (sentence.ends_with('.') ? "" : ".") +
         " \"tessel doctor\" says what to do about it.";
}

std::string quoted(const std::string& name) {
  return '"' + terminalText(name, kMaxNameLength) + '"';
}

std::string heardSoFar(const std::vector<Hub>& hubs) {
  if (hubs.empty()) return "No hub has been heard so far.";
  std::string text;
  for (const Hub& hub : hubs) {
    text += (text.empty() ? "Heard so far: " : ", ") +
            (hub.name ? quoted(*hub.name) : std::string{"a hub without a name"}) + " at " +
            hub.address;
  }
  return text + ".";
}

TerminalSize terminalSize() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
    return {};
  }
  return {size.ws_row, size.ws_col};
}

std::unique_ptr<HubReport> makeReport(bool json) {
  if (json) return makeJsonHubReport(std::cout);
  if (isatty(STDOUT_FILENO) == 0) return makePlainHubReport(std::cout);
  return makeTerminalHubReport(std::cout, terminalSize);
}

/// One run of `tessel discover`. Main thread; kept alive by the loop's tick.
class Lister : public std::enable_shared_from_this<Lister> {
 public:
  explicit Lister(bool json) : json_{json}, report_{makeReport(json)} {}

  int run(EventLoop& loop, std::optional<double> timeout) {
    const std::weak_ptr<Lister> weak = weak_from_this();
    discovery_->observeBeacons([weak](const BeaconListChange& change) {
      if (const auto self = weak.lock()) self->changed(change);
    });
    followBluetooth([weak](BVGBluetoothState state) {
      if (const auto self = weak.lock()) self->bluetooth(state);
    });
    loop.every(kRedraw, [self = shared_from_this()] { self->draw(); });
    draw();
    loop.runUntil([&loop] { return loop.interrupted(); }, milliseconds(timeout));
    if (state_ == BVGBluetoothStatePoweredOn) return 0;
    if (json_) std::cerr << sentenceFor(state_) << std::endl;
    return 1;
  }

 private:
  void changed(const BeaconListChange& change) {
    const auto hub = hubOf(*change.beacon);
    if (!hub) return;
    if (change.kind == BeaconListChange::Kind::kRemoval) {
      report_->gone(*hub);
    } else {
      report_->present(*hub);
    }
    // A change of the signal alone is drawn at the next tick.
    if (change.kind != BeaconListChange::Kind::kUpdate) draw();
  }

  void bluetooth(BVGBluetoothState state) {
    state_ = state;
    report_->bluetooth(json_ ? BVBluetoothStateDescription(state) : sentenceFor(state),
                       state == BVGBluetoothStatePoweredOn);
    draw();
  }

  void draw() { report_->list(hubsOf(*discovery_), std::chrono::system_clock::now()); }

  const bool json_;
  const std::unique_ptr<HubReport> report_;
  const std::shared_ptr<TSLDiscovery> discovery_ = TSLDiscovery::init();
  BVGBluetoothState state_ = nullptr;
};

}  // namespace

int runDiscover(EventLoop& loop, const DiscoverOptions& options) {
  return std::make_shared<Lister>(options.json)->run(loop, options.timeout);
}

std::optional<std::string> waitForHub(EventLoop& loop, const std::optional<std::string>& name) {
  const std::string wanted = name ? "the hub " + quoted(*name) : "a hub";
  std::cerr << "Listening for " << wanted << " ... (Ctrl-C to stop)" << std::endl;
  const auto discovery = TSLDiscovery::init();
  // A subscription lasts as long as the scanner: `waiting` silences this one after the search.
  const auto waiting = std::make_shared<bool>(true);
  followBluetooth([waiting](BVGBluetoothState state) {
    if (*waiting && state != BVGBluetoothStatePoweredOn) {
      std::cerr << sentenceFor(state) << std::endl;
    }
  });
  std::optional<std::string> found;
  const auto done = [&] {
    const auto hubs = hubsOf(*discovery);
    const auto hub = std::ranges::find_if(
        hubs, [&name](const Hub& candidate) { return !name || candidate.name == *name; });
    if (hub != hubs.end()) found = hub->address;
    return found || loop.interrupted();
  };
  if (!loop.runUntil(done, kQuietTimeout)) {
    std::cerr << heardSoFar(hubsOf(*discovery)) << " Still listening for " << wanted << "."
              << std::endl;
    loop.runUntil(done, std::nullopt);
  }
  *waiting = false;
  // The scanner outlives the search, and a radio that keeps scanning takes air time from Wi-Fi.
  BVBeaconScanner::sharedBeaconScanner()->stopScanning();
  return found;
}

}  // namespace tessel::apps
