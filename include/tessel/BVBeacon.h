#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "tessel/Advertisement.h"
#include "tessel/Export.h"
#include "tessel/Types.h"

namespace tessel {

/// The 16 bytes of a UUID, in the order in which its text form shows them.
struct UUID {
  std::array<std::uint8_t, 16> bytes{};
  bool operator==(const UUID&) const = default;

  /// The canonical text form in upper case.
  TESSEL_EXPORT std::string string() const;
  /// From the canonical text form, in either letter case.
  TESSEL_EXPORT static std::optional<UUID> fromString(const std::string& text);
};

/// Key under which `BVBeacon::advertismentDictionary` places the payload:
/// "kCBAdvDataAppleBeaconKey".
TESSEL_EXPORT extern const std::string BVBeaconAdvertismentManufacturerDataKey;

/// One heard iBeacon: its identity, its power, and what has been learnt about it since.
///
/// Two beacons are the same hub by `isEqualToBeacon`; collections hold them by identity. Each
/// accessor may be called from any thread (a name fetch writes while the main queue reads).
class TESSEL_EXPORT BVBeacon {
 public:
  /// A beacon heard now.
  static std::shared_ptr<BVBeacon> initWithProximityUUID(const UUID& proximityUUID,
                                                         std::uint16_t major, std::uint16_t minor,
                                                         std::int16_t measuredPower);

  /// A beacon from manufacturer data of exactly 25 bytes, or null when it is none:
  ///
  ///     at  size  field             value
  ///      0     2  company           0x004C, little-endian
  ///      2     1  type              0x02
  ///      3     1  remaining length  0x15
  ///      4    16  proximity UUID
  ///     20     2  major             big-endian
  ///     22     2  minor             big-endian
  ///     24     1  measured power    signed, dBm at one metre
  static std::shared_ptr<BVBeacon> beaconWithManufacturerAdvertisementData(
      std::span<const std::uint8_t> data);
  /// The same from a whole advertisement; null when that has no manufacturer data.
  static std::shared_ptr<BVBeacon> beaconWithAdvertismentDataDictionary(
      const AdvertisementDictionary& dictionary);

  /// The 21 bytes that an advertiser takes: the layout above without its first four bytes.
  Bytes manufacturerAdvertismentData() const;
  /// One entry: `BVBeaconAdvertismentManufacturerDataKey` and the 21 bytes.
  AdvertisementDictionary advertismentDictionary() const;

  /// Whether proximity UUID, major and minor are the same.
  bool isEqualToBeacon(const BVBeacon& other) const;
  /// The same; false for null.
  bool isEqualTo(const std::shared_ptr<const BVBeacon>& other) const;
  /// Identity, major and minor as a line of text.
  std::string description() const;
  /// A copy without address and name.
  std::shared_ptr<BVBeacon> copy() const;

  /// @name What was learnt
  /// The setters store what they are given. A hub directory calls them for its entries when it
  /// receives another advertisement of a hub (see TSLDiscovery); a call by a host is not reported
  /// to observers.
  /// @{
  UUID proximityUUID() const;
  void setProximityUUID(const UUID& proximityUUID);
  std::uint16_t major() const;
  void setMajor(std::uint16_t major);
  std::uint16_t minor() const;
  void setMinor(std::uint16_t minor);
  /// Calibrated power at one metre in dBm.
  std::int16_t measuredPower() const;
  void setMeasuredPower(std::int16_t measuredPower);
  /// Signal strength of the last advertisement in dBm; 127 when the radio did not report it, none
  /// for a beacon that was not heard.
  std::optional<int> RSSI() const;
  void setRSSI(std::optional<int> RSSI);
  /// When the beacon was last heard or refreshed, by the computer's clock.
  Date lastUpdated() const;
  void setLastUpdated(Date lastUpdated);
  /// Dotted-quad IPv4 address of the hub; none until derived, or when major and minor hold none.
  std::optional<std::string> IPAddr() const;
  void setIPAddr(const std::optional<std::string>& IPAddr);
  /// Display name of the hub in UTF-8; none until fetched, or when the hub has none. As the hub
  /// sent it: a program that shows it must escape what its output would interpret.
  std::optional<std::string> friendlyName() const;
  void setFriendlyName(const std::optional<std::string>& friendlyName);
  /// When the hub's details were last fetched, whether they held a name or not; none before.
  std::optional<Date> lastGetFriendlyName() const;
  void setLastGetFriendlyName(std::optional<Date> lastGetFriendlyName);
  /// Always none.
  std::optional<std::string> keyValue() const;
  /// @}

 private:
  BVBeacon(const UUID& proximityUUID, std::uint16_t major, std::uint16_t minor,
           std::int16_t measuredPower);

  mutable std::mutex mutex_;  // guards all below
  UUID proximityUUID_;
  std::uint16_t major_;
  std::uint16_t minor_;
  std::int16_t measuredPower_;
  std::optional<int> rssi_;
  Date lastUpdated_;
  std::optional<std::string> ipAddr_;
  std::optional<std::string> friendlyName_;
  std::optional<Date> lastGetFriendlyName_;
};

}  // namespace tessel
