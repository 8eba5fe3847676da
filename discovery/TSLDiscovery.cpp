#include "tessel/TSLDiscovery.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdio>
#include <string>
#include <utility>

#include "discovery/deviceParser.h"
#include "platform/IntervalSignal.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/Mutex.h"
#include "tessel/BVBeaconScanner.h"
#include "wire/DetailsURL.h"

namespace tessel {
namespace {

using namespace std::chrono_literals;

constexpr auto kHousekeepingPeriod = 2s;
constexpr auto kExpiryAge = 15s;
constexpr auto kNameRefreshAge = 60s;

// The four octets of a hub's address: the major carries the first two, the minor the last two,
// each high byte first.
std::string addressText(long major, long minor) {
  std::array<char, sizeof "255.255.255.255"> text{};
  std::snprintf(text.data(), text.size(), "%ld.%ld.%ld.%ld", major >> 8 & 0xFF, major & 0xFF,
                minor >> 8 & 0xFF, minor & 0xFF);
  return text.data();
}

// Whether no octet is zero.
bool isValidAddress(long major, long minor) {
  const auto bothOctets = [](long value) {
    return value >= 256 && value <= 65535 && (value & 0xFF) != 0;
  };
  return bothOctets(major) && bothOctets(minor);
}

[[maybe_unused]] bool onMainQueue() {
  return platform::services().queues->mainQueue()->isCurrent();
}

std::optional<std::string> friendlyNameIn(const Bytes& document) {
  const auto parser = deviceParser::initWithTarget("friendlyName");
  platform::services().xml->parse(document, *parser);
  return parser->result();
}

}  // namespace

const UUID TSLHubProximityUUID{{0x7D, 0x1E, 0x4B, 0x9A, 0x2C, 0x63, 0x4F, 0x08, 0xA5, 0xB7, 0x91,
                                0xE0, 0xC4, 0xD2, 0xF8, 0x6B}};

// The list and its observers. The list changes on the main queue only; any thread may take a
// snapshot. Observers are called with no lock held.
struct TSLDiscovery::State {
  std::shared_ptr<Signal<std::shared_ptr<BVBeacon>>> beaconSignal;
  std::shared_ptr<Signal<Date>> housekeepingSignal;
  mutable platform::Mutex mutex;
  std::vector<std::shared_ptr<BVBeacon>> beacons TESSEL_GUARDED_BY(mutex);
  std::vector<Observer> observers TESSEL_GUARDED_BY(mutex);

  // The first entry with the same major and minor.
  std::vector<std::shared_ptr<BVBeacon>>::const_iterator find(const BVBeacon& beacon) const
      TESSEL_REQUIRES(mutex) {
    return std::find_if(beacons.begin(), beacons.end(), [&beacon](const auto& listed) {
      return listed->major() == beacon.major() && listed->minor() == beacon.minor();
    });
  }

  // The same, or null.
  std::shared_ptr<BVBeacon> entryLike(const BVBeacon& beacon) const {
    const platform::MutexLock lock{mutex};
    const auto entry = find(beacon);
    return entry == beacons.end() ? nullptr : *entry;
  }

  void notify(const BeaconListChange& change) const {
    std::vector<Observer> current;
    {
      const platform::MutexLock lock{mutex};
      current = observers;
    }
    for (const auto& observer : current) observer(change);
  }

  // Reports a change of the entry that is this very beacon, if it is listed.
  void notifyUpdate(const std::shared_ptr<BVBeacon>& beacon) const {
    std::size_t index = 0;
    {
      const platform::MutexLock lock{mutex};
      const auto entry = std::find(beacons.begin(), beacons.end(), beacon);
      if (entry == beacons.end()) return;
      index = static_cast<std::size_t>(entry - beacons.begin());
    }
    notify({BeaconListChange::Kind::kUpdate, index, beacon});
  }
};

TSLDiscovery::TSLDiscovery() : state_{std::make_unique<State>()} {}

TSLDiscovery::~TSLDiscovery() = default;

std::shared_ptr<TSLDiscovery> TSLDiscovery::init() {
  std::shared_ptr<TSLDiscovery> discovery{new TSLDiscovery};
  discovery->subscribe();
  return discovery;
}

void TSLDiscovery::subscribe() {
  const auto mainQueue = platform::services().queues->mainQueue();
  const std::weak_ptr<TSLDiscovery> weak = weak_from_this();

  state_->beaconSignal = BVBeaconScanner::sharedBeaconScanner()->beaconSignal()->filter(
      [](const std::shared_ptr<BVBeacon>& beacon) {
        return beacon->proximityUUID() == TSLHubProximityUUID;
      });
  state_->beaconSignal->deliverOn(mainQueue)->subscribeNext(
      [weak](const std::shared_ptr<BVBeacon>& beacon) {
        if (const auto self = weak.lock()) self->heard(beacon);
      });

  state_->housekeepingSignal = platform::intervalSignal(mainQueue, kHousekeepingPeriod);
  state_->housekeepingSignal->subscribeNext([weak](const Date& tick) {
    if (const auto self = weak.lock()) self->removeSilent(tick);
  });
}

std::vector<std::shared_ptr<BVBeacon>> TSLDiscovery::beacons() const {
  const platform::MutexLock lock{state_->mutex};
  return state_->beacons;
}

void TSLDiscovery::observeBeacons(Observer observer) {
  const platform::MutexLock lock{state_->mutex};
  state_->observers.push_back(std::move(observer));
}

std::shared_ptr<Signal<std::shared_ptr<BVBeacon>>> TSLDiscovery::beaconSignal() const {
  return state_->beaconSignal;
}

std::shared_ptr<Signal<Date>> TSLDiscovery::housekeepingSignal() const {
  return state_->housekeepingSignal;
}

std::int64_t TSLDiscovery::rowForBeacon(const std::shared_ptr<BVBeacon>& beacon) const {
  if (!beacon) return kNotFound;
  const platform::MutexLock lock{state_->mutex};
  const auto entry = state_->find(*beacon);
  return entry == state_->beacons.end() ? kNotFound : entry - state_->beacons.begin();
}

void TSLDiscovery::insertObjectInBeaconsAtIndex(const std::shared_ptr<BVBeacon>& beacon,
                                                std::size_t index) {
  assert(onMainQueue());
  if (!beacon) return;
  {
    const platform::MutexLock lock{state_->mutex};
    if (index > state_->beacons.size()) return;
    state_->beacons.insert(state_->beacons.begin() + static_cast<std::ptrdiff_t>(index), beacon);
  }
  state_->notify({BeaconListChange::Kind::kInsertion, index, beacon});
}

void TSLDiscovery::removeObjectFromBeaconsAtIndex(std::size_t index) {
  assert(onMainQueue());
  std::shared_ptr<BVBeacon> removed;
  {
    const platform::MutexLock lock{state_->mutex};
    if (index >= state_->beacons.size()) return;
    const auto entry = state_->beacons.begin() + static_cast<std::ptrdiff_t>(index);
    removed = *entry;
    state_->beacons.erase(entry);
  }
  state_->notify({BeaconListChange::Kind::kRemoval, index, removed});
}

void TSLDiscovery::addBeaconsObject(const std::shared_ptr<BVBeacon>& beacon) {
  assert(onMainQueue());
  updateFriendlyNameForBeacon(beacon);
  insertObjectInBeaconsAtIndex(beacon, beacons().size());
}

void TSLDiscovery::updateFriendlyNameForBeacon(const std::shared_ptr<BVBeacon>& beacon) {
  assert(onMainQueue());
  if (beacon) beacon->setLastUpdated(platform::services().clock->now());
  friendlyNameForBeacon(beacon);
}

void TSLDiscovery::friendlyNameForBeacon(const std::shared_ptr<BVBeacon>& beacon) {
  assert(onMainQueue());
  if (!beacon) return;
  const long major = beacon->major();
  const long minor = beacon->minor();
  const std::string address = addressText(major, minor);
  if (!isValidAddress(major, minor)) {
    platform::log("Invalid IP address. iBeacon major:%ld minor:%ld, translated IP addr:%s", major,
                  minor, address.c_str());
    return;
  }
  beacon->setIPAddr(address);
  // Any transmitter in range causes these requests: those of the user must not wait for them.
  platform::services().urlSessions->makeBackgroundSession()->dataTask(
      {.url = detailsURL(address)},
      [weak = weak_from_this(), beacon](const Bytes& body, const URLResponse& /*answer*/,
                                        const std::optional<Error>& error) {
        if (error) return;
        const auto name = friendlyNameIn(body);
        beacon->setLastGetFriendlyName(platform::services().clock->now());
        beacon->setFriendlyName(name);
        // The list's observers are called on the main queue, wherever answers come.
        platform::services().queues->mainQueue()->async([weak, beacon] {
          if (const auto self = weak.lock()) self->state_->notifyUpdate(beacon);
        });
      });
}

void TSLDiscovery::heard(const std::shared_ptr<BVBeacon>& beacon) {
  assert(onMainQueue());
  const auto entry = state_->entryLike(*beacon);
  if (!entry) {
    addBeaconsObject(beacon);
    return;
  }
  entry->setMeasuredPower(beacon->measuredPower());
  entry->setRSSI(beacon->RSSI());
  entry->setLastUpdated(beacon->lastUpdated());
  const auto fetched = entry->lastGetFriendlyName();
  if (!entry->friendlyName() || !fetched ||
      platform::services().clock->now() - *fetched >= kNameRefreshAge) {
    updateFriendlyNameForBeacon(entry);
  }
  state_->notifyUpdate(entry);
}

void TSLDiscovery::removeSilent(Date tick) {
  assert(onMainQueue());
  for (const auto& silent : beacons()) {
    if (tick - silent->lastUpdated() <= kExpiryAge) continue;
    const auto live = beacons();
    const auto entry = std::find_if(live.begin(), live.end(), [&silent](const auto& listed) {
      return listed->isEqualToBeacon(*silent);
    });
    if (entry == live.end()) continue;
    removeObjectFromBeaconsAtIndex(static_cast<std::size_t>(entry - live.begin()));
  }
}

}  // namespace tessel
