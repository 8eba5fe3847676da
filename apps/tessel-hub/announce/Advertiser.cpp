#include "apps/tessel-hub/announce/Advertiser.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cassert>
#include <netinet/in.h>
#include <utility>

#include "discovery/BeaconRecord.h"
#include "tessel/BVBeacon.h"
#include "tessel/TSLDiscovery.h"

namespace tessel::hub {
namespace {

using platform::BlueZClient;
using platform::VariantMap;
using namespace std::chrono_literals;

constexpr const char* kObjectPath = "/org/tessel/advertisement";
constexpr const char* kAdvertisement = "org.bluez.LEAdvertisement1";
constexpr const char* kManager = "org.bluez.LEAdvertisingManager1";
constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr std::int16_t kPowerAtOneMetre = -59;  // dBm, typical of a computer's antenna
// A sender that scans without pause finds the hub in well under a second.
constexpr std::uint32_t kMinIntervalMilliseconds = 100;
constexpr std::uint32_t kMaxIntervalMilliseconds = 150;
constexpr auto kRetryDelay = 5s;
constexpr auto kReleaseDelay = 1s;
constexpr const char* kByAddress = " Senders reach this hub by its address.";

// The beacon's data under its company; empty when a number of the address is 0, or it is no IPv4
// address: a beacon cannot carry that.
Bytes payloadFor(const std::string& address) {
  in_addr parsed{};
  if (inet_pton(AF_INET, address.c_str(), &parsed) != 1) return {};
  const std::uint32_t number = ntohl(parsed.s_addr);
  for (int shift = 0; shift < 32; shift += 8) {
    if ((number >> shift & 0xFF) == 0) return {};
  }
  const auto beacon =
      BVBeacon::initWithProximityUUID(TSLHubProximityUUID, static_cast<std::uint16_t>(number >> 16),
                                      static_cast<std::uint16_t>(number), kPowerAtOneMetre);
  return beaconDataOfCompany(*beacon);
}

// That of the first address that has one.
Bytes payloadFor(const std::vector<std::string>& addresses) {
  for (const std::string& address : addresses) {
    if (auto payload = payloadFor(address); !payload.empty()) return payload;
  }
  return {};
}

}  // namespace

Advertiser::Advertiser(const std::vector<std::string>& addresses, Notice onNotice)
    : onNotice_{std::move(onNotice)},
      payload_{payloadFor(addresses)},
      client_{*this, "tessel.advert"},
      retry_{client_.thread(), [this] { settled(); }} {
  if (!payload_.empty()) {
    client_.start();
  } else if (addresses.empty()) {
    say("Not advertised over Bluetooth: this machine has no network address.");
  } else {
    say("Not advertised over Bluetooth: a beacon cannot carry the address " + addresses.front() +
        "." + kByAddress);
  }
}

Advertiser::~Advertiser() { client_.stop(); }

void Advertiser::serviceChanged(BlueZClient::Service service) {
  listed_ = service == BlueZClient::Service::kListed;
  if (!listed_) {
    adapters_.clear();
    adapter_.clear();
  }
  // The object is the connection's, and ends with it.
  if (client_.bus() == nullptr) {
    object_.reset();
  } else if (!object_) {
    sd_bus_slot* slot = nullptr;
    sd_bus_add_object(client_.bus(), &slot, kObjectPath, &Advertiser::onCall, this);
    object_.reset(slot);
  }
  if (service == BlueZClient::Service::kAbsent || service == BlueZClient::Service::kNoBus) {
    say(std::string{"Not advertised over Bluetooth: the Bluetooth service does not run."} +
        kByAddress);
  } else if (service == BlueZClient::Service::kRefused) {
    say(std::string{"Not advertised over Bluetooth: this user may not use it."} + kByAddress);
  }
}

void Advertiser::interfaceAdded(const std::string& path, const std::string& interface,
                                const VariantMap& properties) {
  if (!platform::isAdapter(path, onlyAdapter_)) return;
  if (interface == kManager) adapters_[path].canAdvertise = true;
  if (interface == kAdapter) {
    const auto* powered = platform::findValue<bool>(properties, "Powered");
    adapters_[path].powered = powered != nullptr && *powered;
  }
}

void Advertiser::interfaceRemoved(const std::string& path, const std::string& interface) {
  if (interface != kAdapter && interface != kManager) return;
  if (interface == kAdapter) {
    adapters_.erase(path);
  } else if (const auto entry = adapters_.find(path); entry != adapters_.end()) {
    entry->second.canAdvertise = false;
  }
  // The advertisement has gone with either.
  if (path == adapter_) adapter_.clear();
}

void Advertiser::propertiesChanged(const std::string& path, const std::string& interface,
                                   const VariantMap& changed, const std::vector<std::string>&) {
  const auto* powered = platform::findValue<bool>(changed, "Powered");
  const auto entry = adapters_.find(path);
  if (interface != kAdapter || powered == nullptr || entry == adapters_.end()) return;
  entry->second.powered = *powered;
}

// The adapter in use as long as that works; else the first that does.
std::string Advertiser::chooseAdapter() const {
  const auto works = [](const Adapter& adapter) { return adapter.powered && adapter.canAdvertise; };
  const auto current = adapters_.find(adapter_);
  if (current != adapters_.end() && works(current->second)) return adapter_;
  for (const auto& [path, adapter] : adapters_) {
    if (works(adapter)) return path;
  }
  return {};
}

std::string Advertiser::whyNoneWorks() const {
  if (adapters_.empty()) return "there is no Bluetooth adapter";
  const bool powered =
      std::ranges::any_of(adapters_, [](const auto& entry) { return entry.second.powered; });
  return powered ? "the Bluetooth adapter cannot advertise" : "Bluetooth is powered off";
}

void Advertiser::settled() {
  assert(client_.thread().isCurrent());
  if (!listed_) return;
  const std::string chosen = chooseAdapter();
  if (chosen.empty()) say("Not advertised over Bluetooth: " + whyNoneWorks() + "." + kByAddress);
  if (chosen == adapter_) return;
  if (!adapter_.empty()) unregister();
  if (!chosen.empty() && !retry_.armed()) registerAt(chosen);
}

void Advertiser::registerAt(const std::string& adapter) {
  adapter_ = adapter;
  client_.call(
      adapter, kManager, "RegisterAdvertisement",
      [](sd_bus_message* call) { sd_bus_message_append(call, "oa{sv}", kObjectPath, 0); },
      [this, attempt = ++attempt_](const char* errorName) { registered(attempt, errorName); });
}

void Advertiser::unregister() {
  client_.call(
      adapter_, kManager, "UnregisterAdvertisement",
      [](sd_bus_message* call) { sd_bus_message_append(call, "o", kObjectPath); }, nullptr);
  adapter_.clear();
}

void Advertiser::registered(unsigned attempt, const char* errorName) {
  assert(client_.thread().isCurrent());
  if (attempt != attempt_ || adapter_.empty()) return;
  if (errorName == nullptr) {
    say("Advertised over Bluetooth: senders in range find this hub.");
    return;
  }
  adapter_.clear();
  retry_.arm(kRetryDelay);
  say("Not advertised over Bluetooth: the adapter does not take the advertisement (" +
      std::string{errorName} + ")." + kByAddress);
}

// BlueZ has dropped the advertisement. It does so for an adapter that goes as well, and signals
// that next: the pause keeps the two apart.
void Advertiser::released() {
  assert(client_.thread().isCurrent());
  adapter_.clear();
  ++attempt_;
  retry_.arm(kReleaseDelay);
}

void Advertiser::say(const std::string& sentence) {
  if (std::exchange(said_, sentence) != sentence) onNotice_(sentence);
}

int Advertiser::onCall(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& advertiser = *static_cast<Advertiser*>(self);
  if (sd_bus_message_is_method_call(message, kProperties, "GetAll") > 0) {
    return advertiser.answerProperties(message);
  }
  if (sd_bus_message_is_method_call(message, kAdvertisement, "Release") > 0) {
    advertiser.released();
    return sd_bus_reply_method_return(message, nullptr);
  }
  return 0;
}

int Advertiser::answerProperties(sd_bus_message* call) const {
  sd_bus_message* made = nullptr;
  const int r = sd_bus_message_new_method_return(call, &made);
  if (r < 0) return r;
  const platform::SdMessage reply{made};
  sd_bus_message_open_container(made, 'a', "{sv}");
  sd_bus_message_append(made, "{sv}{sv}{sv}", "Type", "s", "broadcast", "MinInterval", "u",
                        kMinIntervalMilliseconds, "MaxInterval", "u", kMaxIntervalMilliseconds);
  sd_bus_message_open_container(made, 'e', "sv");
  sd_bus_message_append(made, "s", "ManufacturerData");
  sd_bus_message_open_container(made, 'v', "a{qv}");
  sd_bus_message_open_container(made, 'a', "{qv}");
  sd_bus_message_open_container(made, 'e', "qv");
  sd_bus_message_append(made, "q", kBeaconCompany);
  sd_bus_message_open_container(made, 'v', "ay");
  sd_bus_message_append_array(made, 'y', payload_.data(), payload_.size());
  for (int open = 0; open < 6; ++open) sd_bus_message_close_container(made);
  return sd_bus_send(nullptr, made, nullptr);
}

}  // namespace tessel::hub
