#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/BluetoothCentral.h"
#include "platform/linux/bluez/BlueZAdapters.h"
#include "platform/linux/bluez/BlueZClient.h"

namespace tessel::platform {

/// What BlueZ tells, seen as one radio. No D-Bus in here; one thread at a time.
///
/// The radio is the first powered adapter with low energy (hci0 before hci1), and stays that one
/// for as long as it is powered; with none powered, the first one with low energy. One without
/// counts only when there is no other. The states:
///
/// | State        | When                                                                        |
/// |--------------|-----------------------------------------------------------------------------|
/// | unknown      | BlueZ has not answered yet                                                  |
/// | resetting    | bluetoothd was there and has gone, or has just come (back): the next        |
/// |              | seconds will tell; see `restarting`                                         |
/// | unsupported  | no system bus, no bluetoothd, or no adapter with low energy                 |
/// | unauthorized | the bus lets this process not speak to BlueZ; or BlueZ has refused it the   |
/// |              | adapter, which holds until that is switched off or goes                     |
/// | powered off  | the adapter is off, blocked by a switch (rfkill) included                   |
/// | powered on   | the adapter is on                                                           |
class BlueZRadio {
 public:
  struct Advertisement {
    Bytes manufacturerData;  ///< company identifier, little-endian, and what follows it
    int rssi;                ///< dBm; 127 when the controller does not tell
  };

  /// With a name such as "hci1", only that adapter is used.
  explicit BlueZRadio(std::string onlyAdapter = {});

  void serviceChanged(BlueZClient::Service service);
  void interfaceAdded(const std::string& path, const std::string& interface,
                      const BusProperties& properties);
  void interfaceRemoved(const std::string& path, const std::string& interface);
  /// `invalidated` are properties whose values are gone.
  void propertiesChanged(const std::string& path, const std::string& interface,
                         const BusProperties& changed, const std::vector<std::string>& invalidated);
  /// BlueZ does not let this process use the adapter.
  void refused(const std::string& adapter);

  /// Whether bluetoothd is on its way: until an adapter is there, or `giveUpWaiting`.
  bool restarting() const { return restarting_; }
  void giveUpWaiting() { restarting_ = false; }

  CentralState state() const;
  /// Object path of the adapter in use; empty when there is none or it is off.
  std::string poweredAdapter() const;
  /// Whether that adapter's controller is discovering, for whomsoever.
  bool discovering(const std::string& adapter) const;

  /// The advertisement that the last change told of, once.
  ///
  /// A device that appears with a signal strength, or whose strength or data are signalled, has
  /// been heard: BlueZ signals the strength alone when the data have not changed, and the data
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
    std::optional<Bytes> manufacturerData;
    std::optional<int> rssi;
  };

  void adapterChanged(const std::string& path, const BusProperties& changed);
  void deviceChanged(const std::string& path, const BusProperties& changed,
                     const std::vector<std::string>& invalidated, bool added);
  void choose();
  const Adapter* chosen() const;
  bool inUse(const std::string& device) const;

  const std::string onlyAdapter_;
  BlueZClient::Service service_ = BlueZClient::Service::starting;
  bool restarting_ = false;
  std::map<std::string, Adapter, ByNumber> adapters_;
  std::string chosen_;  // path of the adapter in use
  std::map<std::string, Device> devices_;
  std::optional<Advertisement> heard_;
};

}  // namespace tessel::platform
