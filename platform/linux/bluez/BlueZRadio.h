#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/BluetoothCentral.h"
#include "platform/linux/bluez/BlueZAdapters.h"
#include "platform/linux/bluez/BlueZClient.h"
#include "platform/linux/dbus/Variant.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// The data of each company identifier in a device's advertisements.
using ManufacturerData = std::map<std::uint16_t, Bytes>;

/// BlueZ's adapters and devices as one radio. Makes no calls; one thread at a time.
///
/// The radio is the first powered adapter with low energy (hci0 before hci1), and stays that one
/// for as long as it is powered; with none powered, the first one with low energy. One without is
/// chosen only when there is no other. The states:
///
/// | State        | When                                                                        |
/// |--------------|-----------------------------------------------------------------------------|
/// | unknown      | BlueZ has not answered yet                                                  |
/// | resetting    | bluetoothd was there and has gone, or has just come (back); see `restarting`|
/// | unsupported  | no system bus, no bluetoothd, or no adapter with low energy                 |
/// | unauthorized | the bus lets this process not speak to BlueZ; or BlueZ has refused it the   |
/// |              | adapter, which holds until that is switched off or goes                     |
/// | powered off  | the adapter is off, blocked by a switch (rfkill) included                   |
/// | powered on   | the adapter is on                                                           |
class BlueZRadio {
 public:
  struct Advertisement {
    ManufacturerData manufacturerData;
    int rssi;  ///< dBm; 127 when the controller does not report it
  };

  /// With a name such as "hci1", only that adapter is used.
  explicit BlueZRadio(std::string onlyAdapter = {});

  void serviceChanged(BlueZClient::Service service);
  void interfaceAdded(const std::string& path, const std::string& interface,
                      const VariantMap& properties);
  void interfaceRemoved(const std::string& path, const std::string& interface);
  /// `invalidated` are properties whose values are gone.
  void propertiesChanged(const std::string& path, const std::string& interface,
                         const VariantMap& changed, const std::vector<std::string>& invalidated);
  /// BlueZ does not let this process use the adapter.
  void refused(const std::string& adapter);

  /// Whether bluetoothd is restarting: until there is an adapter, or `giveUpWaiting`.
  bool restarting() const { return restarting_; }
  void giveUpWaiting() { restarting_ = false; }

  CentralState state() const;
  /// Object path of the adapter in use; empty when there is none or it is off.
  std::string poweredAdapter() const;
  /// Whether discovery is on at that adapter, started by any client.
  bool discovering(const std::string& adapter) const;

  /// The advertisement that the last change reported, once.
  ///
  /// A device that appears with a signal strength, or whose strength or data are signalled, has
  /// advertised: BlueZ signals the strength alone when the data have not changed, and the data
  /// alone when the strength has not.
  std::optional<Advertisement> takeAdvertisement();

 private:
  struct Adapter {
    bool powered = false;
    bool discovering = false;
    bool lowEnergy = true;
    bool refused = false;
  };
  struct Device {
    ManufacturerData manufacturerData;
    std::optional<int> rssi;
  };

  void adapterChanged(const std::string& path, const VariantMap& changed);
  void deviceChanged(const std::string& path, const VariantMap& changed,
                     const std::vector<std::string>& invalidated, bool added);
  void choose();
  const Adapter* chosen() const;
  bool inUse(const std::string& device) const;

  const std::string onlyAdapter_;
  BlueZClient::Service service_ = BlueZClient::Service::kStarting;
  bool restarting_ = false;
  std::map<std::string, Adapter, ByNumber> adapters_;
  std::string chosen_;  // path of the adapter in use
  std::map<std::string, Device> devices_;
  std::optional<Advertisement> received_;
};

}  // namespace tessel::platform
