#include "platform/linux/bluez/BlueZCentral.h"

#include <algorithm>
#include <cassert>
#include <string_view>
#include <utility>

#include "platform/linux/bluez/BlueZAdapters.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr std::string_view kInProgressError = "org.bluez.Error.InProgress";
// How long a bluetoothd that has gone counts as restarting.
constexpr auto kRestartTimeout = 10s;
constexpr auto kMinRetryDelay = 1s;
constexpr auto kMaxRetryDelay = 8s;

void fillFilter(sd_bus_message* message, bool allowDuplicates) {
  sd_bus_message_append(message, "a{sv}", 2, "Transport", "s", "le", "DuplicateData", "b",
                        allowDuplicates ? 1 : 0);
}

bool isRefusal(std::string_view errorName) {
  return errorName == SD_BUS_ERROR_ACCESS_DENIED || errorName == "org.bluez.Error.NotAuthorized";
}

// An advertisement's structure of manufacturer data as it is on the air: the company identifier,
// little-endian, and its data.
Bytes onTheAir(std::uint16_t company, const Bytes& data) {
  Bytes bytes{static_cast<std::uint8_t>(company), static_cast<std::uint8_t>(company >> 8)};
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

}  // namespace

BlueZCentral::BlueZCentral(const std::weak_ptr<CentralDelegate>& delegate,
                           std::shared_ptr<SerialQueue> queue)
    : delegate_{delegate},
      queue_{std::move(queue)},
      radio_{adapterOfEnvironment()},
      retryDelay_{kMinRetryDelay},
      client_{*this, "tessel.bluez"},
      retry_{client_.thread(), [this] { retryDiscovery(); }},
      restartTimeout_{client_.thread(), [this] {
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
  if (service != BlueZClient::Service::kListed) discovery_.adapter.clear();
}

void BlueZCentral::interfaceAdded(const std::string& path, const std::string& interface,
                                  const VariantMap& properties) {
  radio_.interfaceAdded(path, interface, properties);
}

void BlueZCentral::interfaceRemoved(const std::string& path, const std::string& interface) {
  radio_.interfaceRemoved(path, interface);
  if (interface == kAdapter && path == discovery_.adapter) discovery_.adapter.clear();
}

void BlueZCentral::propertiesChanged(const std::string& path, const std::string& interface,
                                     const VariantMap& changed,
                                     const std::vector<std::string>& invalidated) {
  radio_.propertiesChanged(path, interface, changed, invalidated);
  if (path == discovery_.adapter && changed.contains("Discovering")) {
    discoveryChanged(radio_.discovering(path));
  }
}

void BlueZCentral::settled() {
  assert(client_.thread().isCurrent());
  deliver();
  if (!radio_.restarting()) {
    restartTimeout_.disarm();
  } else if (!restartTimeout_.armed()) {
    restartTimeout_.arm(kRestartTimeout);
  }
  publishState();
  manageDiscovery();
}

void BlueZCentral::publishState() {
  const CentralState state = radio_.state();
  // The state is unknown until BlueZ has answered: no change.
  if (published_ == state || (!published_ && state == CentralState::kUnknown)) return;
  published_ = state;
  state_ = state;
  queue_->async([delegate = delegate_, state] {
    if (const auto strong = delegate.lock()) strong->centralManagerDidUpdateState(state);
  });
}

void BlueZCentral::manageDiscovery() {
  assert(client_.thread().isCurrent());
  const std::string powered = radio_.poweredAdapter();
  // A pause is over when another adapter takes over, or this one was off meanwhile.
  if (std::exchange(powered_, powered) != powered) {
    retry_.disarm();
    retryDelay_ = kMinRetryDelay;
  }
  const std::string adapter = wanted_ ? powered : std::string{};
  if (adapter == discovery_.adapter) return;
  if (!discovery_.adapter.empty()) stopDiscovery();
  if (!adapter.empty() && !retry_.armed()) startDiscovery(adapter);
}

void BlueZCentral::retryDiscovery() {
  // One that BlueZ still does not signal may have failed to start.
  if (discovery_.phase == Discovery::Phase::kInProgress) discovery_.adapter.clear();
  manageDiscovery();
}

void BlueZCentral::startDiscovery(const std::string& adapter) {
  discovery_ = {adapter, Discovery::Phase::kStarting, discovery_.number + 1,
                std::chrono::steady_clock::now()};
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
  assert(client_.thread().isCurrent());
  if (number != discovery_.number || discovery_.adapter.empty()) return;
  if (errorName == nullptr) {
    discovery_.phase = Discovery::Phase::kRunning;
    return;
  }
  if (std::string_view{errorName} == kInProgressError) {
    discoveryInProgress();
    return;
  }
  const std::string adapter = std::exchange(discovery_.adapter, {});
  if (isRefusal(errorName)) {
    radio_.refused(adapter);
    publishState();
    return;
  }
  // Busy, not quite up yet, or out of memory: BlueZ does not signal when that is over.
  retryLater();
}

// A discovery of this process is running or being started: repeating the call would only repeat the
// answer. BlueZ answers the same when a start has failed, so that its signal decides.
void BlueZCentral::discoveryInProgress() {
  if (radio_.discovering(discovery_.adapter)) {
    discovery_.phase = Discovery::Phase::kRunning;
  } else {
    discovery_.phase = Discovery::Phase::kInProgress;
    retryLater();
  }
}

void BlueZCentral::discoveryChanged(bool discovering) {
  switch (discovery_.phase) {
    case Discovery::Phase::kStarting:
      return;  // the end of an earlier discovery, or another client's start
    case Discovery::Phase::kInProgress:
      if (!discovering) return;
      retry_.disarm();
      discovery_.phase = Discovery::Phase::kRunning;
      return;
    case Discovery::Phase::kRunning:
      if (!discovering) discoveryEnded();
      return;
  }
}

// The next one is started at once after a discovery that outlasted the pause, else after the pause:
// however fast BlueZ ends them, the starts stay apart.
void BlueZCentral::discoveryEnded() {
  discovery_.adapter.clear();
  if (std::chrono::steady_clock::now() - discovery_.begun < retryDelay_) {
    retryLater();
  } else {
    retryDelay_ = kMinRetryDelay;
  }
}

void BlueZCentral::retryLater() {
  retry_.arm(retryDelay_);
  retryDelay_ = std::min(retryDelay_ * 2, kMaxRetryDelay);
}

void BlueZCentral::deliver() {
  auto received = radio_.takeAdvertisement();
  if (!received || received->manufacturerData.empty() || !wanted_) return;
  queue_->async([delegate = delegate_, received = std::move(*received)] {
    const auto strong = delegate.lock();
    if (!strong) return;
    for (const auto& [company, data] : received.manufacturerData) {
      strong->didDiscoverPeripheral(
          {{CBAdvertisementDataManufacturerDataKey, onTheAir(company, data)}}, received.rssi);
    }
  });
}

}  // namespace tessel::platform
