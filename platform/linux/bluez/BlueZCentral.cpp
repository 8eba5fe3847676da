#include "platform/linux/bluez/BlueZCentral.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/linux/bluez/BlueZAdapters.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kAdapter = "org.bluez.Adapter1";
// How long a bluetoothd that has gone is taken to be on its way back.
constexpr auto kRestartTakes = 10s;
constexpr auto kFirstRetry = 1s;
constexpr auto kLongestRetry = 8s;

void fillFilter(sd_bus_message* message, bool allowDuplicates) {
  sd_bus_message_append(message, "a{sv}", 2, "Transport", "s", "le", "DuplicateData", "b",
                        allowDuplicates ? 1 : 0);
}

bool isRefusal(const char* errorName) {
  return std::strcmp(errorName, "org.freedesktop.DBus.Error.AccessDenied") == 0 ||
         std::strcmp(errorName, "org.bluez.Error.NotAuthorized") == 0;
}

}  // namespace

BlueZCentral::BlueZCentral(const std::weak_ptr<CentralDelegate>& delegate,
                           std::shared_ptr<SerialQueue> queue)
    : delegate_{delegate},
      queue_{std::move(queue)},
      radio_{adapterOfEnvironment()},
      retryAfter_{kFirstRetry},
      client_{*this, "tessel.bluez"},
      retry_{client_.thread(), [this] { manageDiscovery(); }},
      waitForRestart_{client_.thread(), [this] {
                        radio_.giveUpWaiting();
                        settled();
                      }} {
  client_.start();
}

BlueZCentral::~BlueZCentral() { client_.stop(); }

void BlueZCentral::scanForPeripherals(bool allowDuplicates) {
  client_.post([this, allowDuplicates] {
    wanted_ = allowDuplicates;
    manageDiscovery();
  });
}

void BlueZCentral::stopScan() {
  client_.post([this] {
    wanted_.reset();
    manageDiscovery();
  });
}

void BlueZCentral::serviceChanged(BlueZClient::Service service) {
  radio_.serviceChanged(service);
  if (service != BlueZClient::Service::listed) discovery_.adapter.clear();
}

void BlueZCentral::interfaceAdded(const std::string& path, const std::string& interface,
                                  const BusProperties& properties) {
  radio_.interfaceAdded(path, interface, properties);
}

void BlueZCentral::interfaceRemoved(const std::string& path, const std::string& interface) {
  radio_.interfaceRemoved(path, interface);
  if (interface == kAdapter && path == discovery_.adapter) discovery_.adapter.clear();
}

void BlueZCentral::propertiesChanged(const std::string& path, const std::string& interface,
                                     const BusProperties& changed,
                                     const std::vector<std::string>& invalidated) {
  radio_.propertiesChanged(path, interface, changed, invalidated);
  // An end that is signalled before the start was answered is the end of an earlier discovery.
  if (path == discovery_.adapter && discovery_.confirmed && changed.contains("Discovering") &&
      !radio_.discovering(path)) {
    discoveryEnded();
  }
}

void BlueZCentral::settled() {
  deliver();
  if (!radio_.restarting()) {
    waitForRestart_.disarm();
  } else if (!waitForRestart_.armed()) {
    waitForRestart_.arm(kRestartTakes);
  }
  publishState();
  manageDiscovery();
}

void BlueZCentral::publishState() {
  const CentralState state = radio_.state();
  // Nothing is known before BlueZ has answered; that is no change.
  if (published_ == state || (!published_ && state == CentralState::kUnknown)) return;
  published_ = state;
  state_ = state;
  queue_->async([delegate = delegate_, state] {
    if (const auto strong = delegate.lock()) strong->centralManagerDidUpdateState(state);
  });
}

void BlueZCentral::manageDiscovery() {
  const std::string powered = radio_.poweredAdapter();
  // What held up another adapter, or this one before it was off, is over.
  if (std::exchange(powered_, powered) != powered) {
    retry_.disarm();
    retryAfter_ = kFirstRetry;
  }
  const std::string adapter = wanted_ ? powered : std::string{};
  if (adapter == discovery_.adapter) return;
  if (!discovery_.adapter.empty()) stopDiscovery();
  if (!adapter.empty() && !retry_.armed()) startDiscovery(adapter);
}

void BlueZCentral::startDiscovery(const std::string& adapter) {
  discovery_ = {adapter, false, discovery_.number + 1, std::chrono::steady_clock::now()};
  client_.call(
      adapter, kAdapter, "SetDiscoveryFilter",
      [this](sd_bus_message* message) { fillFilter(message, *wanted_); }, nullptr);
  client_.call(adapter, kAdapter, "StartDiscovery", nullptr,
               [this, number = discovery_.number](const char* errorName) {
                 discoveryAnswered(number, errorName);
               });
}

void BlueZCentral::stopDiscovery() {
  client_.call(discovery_.adapter, kAdapter, "StopDiscovery", nullptr, nullptr);
  discovery_.adapter.clear();
}

void BlueZCentral::discoveryAnswered(unsigned number, const char* errorName) {
  if (number != discovery_.number || discovery_.adapter.empty()) return;
  if (errorName == nullptr) {
    discovery_.confirmed = true;
    return;
  }
  const std::string adapter = std::exchange(discovery_.adapter, {});
  if (isRefusal(errorName)) {
    radio_.refused(adapter);
    publishState();
    return;
  }
  // Busy, or not quite up yet: BlueZ does not signal when that is over.
  retryLater();
}

// Of a discovery that outlasted the pause, the next one may begin at once: however fast BlueZ ends
// them, they stay apart.
void BlueZCentral::discoveryEnded() {
  discovery_.adapter.clear();
  if (std::chrono::steady_clock::now() - discovery_.begun < retryAfter_) {
    retryLater();
  } else {
    retryAfter_ = kFirstRetry;
  }
}

void BlueZCentral::retryLater() {
  retry_.arm(retryAfter_);
  retryAfter_ = std::min(retryAfter_ * 2, kLongestRetry);
}

void BlueZCentral::deliver() {
  auto heard = radio_.takeAdvertisement();
  if (!heard || !wanted_) return;
  queue_->async([delegate = delegate_, heard = std::move(*heard)] {
    if (const auto strong = delegate.lock()) {
      strong->didDiscoverPeripheral(
          {{CBAdvertisementDataManufacturerDataKey, heard.manufacturerData}}, heard.rssi);
    }
  });
}

}  // namespace tessel::platform
