#include "platform/linux/bluez/BlueZRadio.h"

#include <algorithm>
#include <utility>

namespace tessel::platform {
namespace {

using Service = BlueZClient::Service;

constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kDevice = "org.bluez.Device1";
// The range of a controller's RSSI in dBm, and its value for none.
constexpr int kMinRSSI = -127;
constexpr int kMaxRSSI = 20;
constexpr int kUnknownRSSI = 127;

// None when the property is missing or of another type; entries of other types are left out.
std::optional<ManufacturerData> manufacturerDataIn(const VariantMap& properties) {
  const auto* entries = findValue<Variant::Dictionary>(properties, "ManufacturerData");
  if (entries == nullptr) return std::nullopt;
  ManufacturerData data;
  for (const auto& [key, value] : *entries) {
    const auto* company = key.as<std::int64_t>();
    const auto* bytes = value.as<Bytes>();
    if (company == nullptr || bytes == nullptr || !std::in_range<std::uint16_t>(*company)) continue;
    data[static_cast<std::uint16_t>(*company)] = *bytes;
  }
  return data;
}

// None when the property is missing or out of range.
std::optional<int> rssiIn(const VariantMap& properties) {
  const auto* rssi = findValue<std::int64_t>(properties, "RSSI");
  if (rssi == nullptr) return std::nullopt;
  const bool possible = (*rssi >= kMinRSSI && *rssi <= kMaxRSSI) || *rssi == kUnknownRSSI;
  return possible ? std::optional{static_cast<int>(*rssi)} : std::nullopt;
}

}  // namespace

BlueZRadio::BlueZRadio(std::string onlyAdapter) : onlyAdapter_{std::move(onlyAdapter)} {}

void BlueZRadio::serviceChanged(Service service) {
  const Service before = std::exchange(service_, service);
  if (service != Service::kListed) {
    const bool leaves = before == Service::kListed;
    const bool comes = before == Service::kAbsent && service == Service::kStarting;
    restarting_ = restarting_ || leaves || comes;
    adapters_.clear();
    devices_.clear();
  }
  choose();
}

void BlueZRadio::interfaceAdded(const std::string& path, const std::string& interface,
                                const VariantMap& properties) {
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
                                   const VariantMap& changed,
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

void BlueZRadio::adapterChanged(const std::string& path, const VariantMap& changed) {
  Adapter& adapter = adapters_[path];
  if (const auto* powered = findValue<bool>(changed, "Powered")) {
    if (*powered != adapter.powered) adapter.refused = false;
    adapter.powered = *powered;
  }
  if (const auto* discovering = findValue<bool>(changed, "Discovering")) {
    adapter.discovering = *discovering;
  }
  // A BlueZ that lists an adapter's roles lists "central" for each one with low energy.
  if (const auto* roles = findValue<Variant::Strings>(changed, "Roles")) {
    adapter.lowEnergy = std::ranges::find(*roles, "central") != roles->end();
  }
  restarting_ = false;
  choose();
}

void BlueZRadio::deviceChanged(const std::string& path, const VariantMap& changed,
                               const std::vector<std::string>& invalidated, bool added) {
  Device& device = devices_[path];
  const auto data = manufacturerDataIn(changed);
  const auto rssi = rssiIn(changed);
  if (data) device.manufacturerData = *data;
  if (rssi) device.rssi = rssi;
  if (std::ranges::find(invalidated, "RSSI") != invalidated.end()) device.rssi.reset();
  // A device without RSSI is one that BlueZ remembers.
  const bool advertised = rssi || (data && !added);
  // What BlueZ lists at the start was received some time ago.
  if (!advertised || service_ != Service::kListed || !inUse(path)) return;
  received_ = {device.manufacturerData, device.rssi.value_or(kUnknownRSSI)};
}

std::optional<BlueZRadio::Advertisement> BlueZRadio::takeAdvertisement() {
  return std::exchange(received_, std::nullopt);
}

void BlueZRadio::choose() {
  const Adapter* current = chosen();
  // While the adapters are being listed, a later one may be the first.
  if (current != nullptr && current->lowEnergy && current->powered &&
      service_ == Service::kListed) {
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
  if (service_ == Service::kRefused) return CentralState::kUnauthorized;
  if (const Adapter* adapter = chosen()) {
    if (!adapter->lowEnergy) return CentralState::kUnsupported;
    if (adapter->refused) return CentralState::kUnauthorized;
    return adapter->powered ? CentralState::kPoweredOn : CentralState::kPoweredOff;
  }
  if (restarting_) return CentralState::kResetting;
  return service_ == Service::kStarting ? CentralState::kUnknown : CentralState::kUnsupported;
}

std::string BlueZRadio::poweredAdapter() const {
  return state() == CentralState::kPoweredOn ? chosen_ : std::string{};
}

bool BlueZRadio::discovering(const std::string& adapter) const {
  const auto entry = adapters_.find(adapter);
  return entry != adapters_.end() && entry->second.discovering;
}

}  // namespace tessel::platform
