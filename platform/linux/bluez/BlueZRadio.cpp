#include "platform/linux/bluez/BlueZRadio.h"

#include <algorithm>
#include <utility>

namespace tessel::platform {
namespace {

using Service = BlueZClient::Service;

constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kDevice = "org.bluez.Device1";
// The company whose manufacturer data beacons are.
constexpr std::uint16_t kBeaconCompany = 0x004C;
// What a controller can tell of a strength, in dBm.
constexpr int kWeakest = -127;
constexpr int kStrongest = 20;
constexpr int kStrengthUnknown = 127;

// The company identifier, little-endian, and its data: the form in which an advertisement carries
// them on the air.
std::optional<Bytes> onTheAir(const ManufacturerData& data) {
  const auto entry = data.find(kBeaconCompany);
  if (entry == data.end()) return std::nullopt;
  Bytes bytes{kBeaconCompany & 0xFF, kBeaconCompany >> 8};
  bytes.insert(bytes.end(), entry->second.begin(), entry->second.end());
  return bytes;
}

// None when it is not told, or no controller can have told it.
std::optional<int> strengthIn(const BusProperties& properties) {
  const auto* rssi = findProperty<std::int64_t>(properties, "RSSI");
  if (rssi == nullptr) return std::nullopt;
  const bool possible = (*rssi >= kWeakest && *rssi <= kStrongest) || *rssi == kStrengthUnknown;
  return possible ? std::optional{static_cast<int>(*rssi)} : std::nullopt;
}

}  // namespace

BlueZRadio::BlueZRadio(std::string onlyAdapter) : onlyAdapter_{std::move(onlyAdapter)} {}

void BlueZRadio::serviceChanged(Service service) {
  const Service before = std::exchange(service_, service);
  if (service != Service::listed) {
    const bool leaves = before == Service::listed;
    const bool comes = before == Service::absent && service == Service::starting;
    restarting_ = restarting_ || leaves || comes;
    adapters_.clear();
    devices_.clear();
  }
  choose();
}

void BlueZRadio::interfaceAdded(const std::string& path, const std::string& interface,
                                const BusProperties& properties) {
  if (interface == kAdapter) {
    if (!isAdapter(path, onlyAdapter_)) return;
    adapters_[path] = {};
    adapterChanged(path, properties);
  } else if (interface == kDevice) {
    devices_[path] = {};
    deviceChanged(path, properties, {}, true);
  }
}

void BlueZRadio::interfaceRemoved(const std::string& path, const std::string& interface) {
  if (interface == kDevice) devices_.erase(path);
  if (interface != kAdapter || adapters_.erase(path) == 0) return;
  std::erase_if(devices_,
                [&path](const auto& entry) { return entry.first.starts_with(path + "/"); });
  choose();
}

void BlueZRadio::propertiesChanged(const std::string& path, const std::string& interface,
                                   const BusProperties& changed,
                                   const std::vector<std::string>& invalidated) {
  if (interface == kAdapter && adapters_.contains(path)) adapterChanged(path, changed);
  if (interface == kDevice && devices_.contains(path)) {
    deviceChanged(path, changed, invalidated, false);
  }
}

void BlueZRadio::refused(const std::string& adapter) {
  const auto entry = adapters_.find(adapter);
  if (entry != adapters_.end()) entry->second.refused = true;
}

void BlueZRadio::adapterChanged(const std::string& path, const BusProperties& changed) {
  Adapter& adapter = adapters_[path];
  if (const auto* powered = findProperty<bool>(changed, "Powered")) {
    if (*powered != adapter.powered) adapter.refused = false;
    adapter.powered = *powered;
  }
  if (const auto* discovering = findProperty<bool>(changed, "Discovering")) {
    adapter.discovering = *discovering;
  }
  // A BlueZ that lists an adapter's roles lists "central" for each one with low energy.
  if (const auto* roles = findProperty<std::vector<std::string>>(changed, "Roles")) {
    adapter.lowEnergy = std::ranges::find(*roles, "central") != roles->end();
  }
  restarting_ = false;
  choose();
}

void BlueZRadio::deviceChanged(const std::string& path, const BusProperties& changed,
                               const std::vector<std::string>& invalidated, bool added) {
  Device& device = devices_[path];
  const auto* data = findProperty<ManufacturerData>(changed, "ManufacturerData");
  const std::optional<int> rssi = strengthIn(changed);
  if (data != nullptr) device.manufacturerData = onTheAir(*data);
  if (rssi) device.rssi = rssi;
  if (std::ranges::find(invalidated, "RSSI") != invalidated.end()) device.rssi.reset();
  // A device that is only remembered has no strength.
  const bool heard = rssi || (data != nullptr && !added);
  // What BlueZ lists at the start was heard some time ago.
  if (!heard || service_ != Service::listed || !device.manufacturerData || !inUse(path)) return;
  heard_ = {*device.manufacturerData, device.rssi.value_or(kStrengthUnknown)};
}

std::optional<BlueZRadio::Advertisement> BlueZRadio::takeAdvertisement() {
  return std::exchange(heard_, std::nullopt);
}

void BlueZRadio::choose() {
  const Adapter* current = chosen();
  // While the adapters are being listed, a later one may be the first.
  if (current != nullptr && current->lowEnergy && current->powered && service_ == Service::listed) {
    return;
  }
  const auto best =  // the first of equals
      std::ranges::max_element(adapters_, {}, [](const auto& entry) {
        return std::pair{entry.second.lowEnergy, entry.second.powered};
      });
  chosen_ = best != adapters_.end() ? best->first : std::string{};
}

const BlueZRadio::Adapter* BlueZRadio::chosen() const {
  const auto entry = adapters_.find(chosen_);
  return entry == adapters_.end() ? nullptr : &entry->second;
}

bool BlueZRadio::inUse(const std::string& device) const {
  return !chosen_.empty() && device.starts_with(chosen_ + "/");
}

CentralState BlueZRadio::state() const {
  if (service_ == Service::refused) return CentralState::kUnauthorized;
  if (const Adapter* adapter = chosen()) {
    if (!adapter->lowEnergy) return CentralState::kUnsupported;
    if (adapter->refused) return CentralState::kUnauthorized;
    return adapter->powered ? CentralState::kPoweredOn : CentralState::kPoweredOff;
  }
  if (restarting_) return CentralState::kResetting;
  return service_ == Service::starting ? CentralState::kUnknown : CentralState::kUnsupported;
}

std::string BlueZRadio::poweredAdapter() const {
  return state() == CentralState::kPoweredOn ? chosen_ : std::string{};
}

bool BlueZRadio::discovering(const std::string& adapter) const {
  const auto entry = adapters_.find(adapter);
  return entry != adapters_.end() && entry->second.discovering;
}

}  // namespace tessel::platform
