#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/bluez/BlueZAdapters.h"
#include "platform/linux/bluez/BlueZClient.h"
#include "platform/linux/dbus/OneShotTimer.h"
#include "platform/linux/dbus/SdBus.h"
#include "platform/linux/dbus/Variant.h"
#include "tessel/Types.h"

namespace tessel::hub {

/// Advertises the hub over Bluetooth for as long as it lives: as the beacon whose major and minor
/// carry the hub's IPv4 address. Resumes by itself when an adapter is switched on or plugged in,
/// and when bluetoothd restarts.
///
/// Uses the first powered adapter, or the one that the environment variable TESSEL_ADAPTER names,
/// such as "hci1". Everything runs on a thread of its own.
class Advertiser : private platform::BlueZClient::Listener {
 public:
  /// Called on the advertiser's thread with a sentence that says whether the hub is advertised,
  /// each time that changes.
  using Notice = std::function<void(const std::string& sentence)>;

  /// `addresses`: where senders reach the hub; none when it is in no network. The first one that a
  /// beacon can carry is advertised.
  Advertiser(const std::vector<std::string>& addresses, Notice onNotice);
  /// Ends the advertisement.
  ~Advertiser() override;
  Advertiser(const Advertiser&) = delete;
  Advertiser& operator=(const Advertiser&) = delete;

 private:
  struct Adapter {
    bool powered = false;
    bool canAdvertise = false;
  };

  void serviceChanged(platform::BlueZClient::Service service) override;
  void interfaceAdded(const std::string& path, const std::string& interface,
                      const platform::VariantMap& properties) override;
  void interfaceRemoved(const std::string& path, const std::string& interface) override;
  void propertiesChanged(const std::string& path, const std::string& interface,
                         const platform::VariantMap& changed,
                         const std::vector<std::string>& invalidated) override;
  void settled() override;

  std::string chooseAdapter() const;
  std::string whyNoneWorks() const;
  void registerAt(const std::string& adapter);
  void unregister();
  void registered(unsigned attempt, const char* errorName);
  void released();
  void say(const std::string& sentence);
  static int onCall(sd_bus_message* message, void* self, sd_bus_error* error);
  int answerProperties(sd_bus_message* call) const;

  const Notice onNotice_;
  const std::string onlyAdapter_ = platform::adapterOfEnvironment();
  const Bytes payload_;  // the beacon's data under its company
  // The rest belongs to the client's thread.
  bool listed_ = false;
  std::map<std::string, Adapter, platform::ByNumber> adapters_;
  std::string adapter_;   // where the advertisement is registered, or is being; empty: nowhere
  unsigned attempt_ = 0;  // tells late answers apart
  std::string said_;
  platform::SdSlot object_;
  platform::BlueZClient client_;
  platform::OneShotTimer retry_;
};

}  // namespace tessel::hub
