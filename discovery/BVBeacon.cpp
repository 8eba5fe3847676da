#include "tessel/BVBeacon.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "discovery/BeaconRecord.h"
#include "platform/Services.h"
#include "platform/base/ByteOrder.h"

namespace tessel {
namespace {

// Where the text form of a UUID has a hyphen before the byte of this index.
constexpr bool hyphenBefore(std::size_t byte) {
  return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

std::optional<std::uint8_t> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<std::uint8_t>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
  return std::nullopt;
}

}  // namespace

const std::string BVBeaconAdvertismentManufacturerDataKey = "kCBAdvDataAppleBeaconKey";

std::string UUID::string() const {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (hyphenBefore(i)) text += '-';
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0x0F];
  }
  return text;
}

std::optional<UUID> UUID::fromString(const std::string& text) {
  constexpr std::size_t kTextSize = 36;
  if (text.size() != kTextSize) return std::nullopt;
  UUID uuid;
  std::size_t at = 0;
  for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
    if (hyphenBefore(i) && text[at++] != '-') return std::nullopt;
    const auto high = hexDigit(text[at++]);
    const auto low = hexDigit(text[at++]);
    if (!high || !low) return std::nullopt;
    uuid.bytes[i] = static_cast<std::uint8_t>(*high << 4 | *low);
  }
  return uuid;
}

BVBeacon::BVBeacon(const UUID& proximityUUID, std::uint16_t major, std::uint16_t minor,
                   std::int16_t measuredPower)
    : proximityUUID_{proximityUUID},
      major_{major},
      minor_{minor},
      measuredPower_{measuredPower},
      lastUpdated_{platform::services().clock->now()} {}

std::shared_ptr<BVBeacon> BVBeacon::initWithProximityUUID(const UUID& proximityUUID,
                                                          std::uint16_t major, std::uint16_t minor,
                                                          std::int16_t measuredPower) {
  return std::shared_ptr<BVBeacon>(new BVBeacon(proximityUUID, major, minor, measuredPower));
}

std::shared_ptr<BVBeacon> BVBeacon::beaconWithManufacturerAdvertisementData(
    std::span<const std::uint8_t> data) {
  if (data.size() != kBeaconRecordSize) return nullptr;
  const auto record = data.first<kBeaconRecordSize>();
  if (platform::getLittleEndian<0, std::uint16_t>(record) != kBeaconCompany) return nullptr;
  if (record[2] != kBeaconType || record[3] != kBeaconRemainingLength) return nullptr;
  UUID uuid;
  std::copy_n(record.begin() + kBeaconPayloadOffset, uuid.bytes.size(), uuid.bytes.begin());
  const auto major = platform::getBigEndian<20, std::uint16_t>(record);
  const auto minor = platform::getBigEndian<22, std::uint16_t>(record);
  return initWithProximityUUID(uuid, major, minor, static_cast<std::int8_t>(record[24]));
}

std::shared_ptr<BVBeacon> BVBeacon::beaconWithAdvertismentDataDictionary(
    const AdvertisementDictionary& dictionary) {
  const auto entry = dictionary.find(CBAdvertisementDataManufacturerDataKey);
  if (entry == dictionary.end()) return nullptr;
  return beaconWithManufacturerAdvertisementData(entry->second);
}

//  at  size  field           value
//   0    16  proximity UUID
//  16     2  major           big-endian
//  18     2  minor           big-endian
//  20     1  measured power  its low 8 bits
Bytes BVBeacon::manufacturerAdvertismentData() const {
  std::array<std::uint8_t, kBeaconPayloadSize> record{};
  const std::span<std::uint8_t, kBeaconPayloadSize> fields{record};
  std::ranges::copy(proximityUUID().bytes, record.begin());
  platform::putBigEndian<16>(fields, major());
  platform::putBigEndian<18>(fields, minor());
  record[20] = static_cast<std::uint8_t>(measuredPower());
  return {record.begin(), record.end()};
}

AdvertisementDictionary BVBeacon::advertismentDictionary() const {
  return {{BVBeaconAdvertismentManufacturerDataKey, manufacturerAdvertismentData()}};
}

bool BVBeacon::isEqualToBeacon(const BVBeacon& other) const {
  return proximityUUID() == other.proximityUUID() && major() == other.major() &&
         minor() == other.minor();
}

bool BVBeacon::isEqualTo(const std::shared_ptr<const BVBeacon>& other) const {
  return other && isEqualToBeacon(*other);
}

std::string BVBeacon::description() const {
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(), "<%s: %p, UUID: %s, major: %u, minor: %u>", "BVBeacon",
                static_cast<const void*>(this), proximityUUID().string().c_str(), major(), minor());
  return text.data();
}

std::shared_ptr<BVBeacon> BVBeacon::copy() const {
  auto copy = initWithProximityUUID(proximityUUID(), major(), minor(), measuredPower());
  copy->setLastUpdated(lastUpdated());
  copy->setRSSI(RSSI());
  return copy;
}

UUID BVBeacon::proximityUUID() const {
  const std::lock_guard lock{mutex_};
  return proximityUUID_;
}

void BVBeacon::setProximityUUID(const UUID& proximityUUID) {
  const std::lock_guard lock{mutex_};
  proximityUUID_ = proximityUUID;
}

std::uint16_t BVBeacon::major() const {
  const std::lock_guard lock{mutex_};
  return major_;
}

void BVBeacon::setMajor(std::uint16_t major) {
  const std::lock_guard lock{mutex_};
  major_ = major;
}

std::uint16_t BVBeacon::minor() const {
  const std::lock_guard lock{mutex_};
  return minor_;
}

void BVBeacon::setMinor(std::uint16_t minor) {
  const std::lock_guard lock{mutex_};
  minor_ = minor;
}

std::int16_t BVBeacon::measuredPower() const {
  const std::lock_guard lock{mutex_};
  return measuredPower_;
}

void BVBeacon::setMeasuredPower(std::int16_t measuredPower) {
  const std::lock_guard lock{mutex_};
  measuredPower_ = measuredPower;
}

std::optional<int> BVBeacon::RSSI() const {
  const std::lock_guard lock{mutex_};
  return rssi_;
}

void BVBeacon::setRSSI(std::optional<int> RSSI) {
  const std::lock_guard lock{mutex_};
  rssi_ = RSSI;
}

Date BVBeacon::lastUpdated() const {
  const std::lock_guard lock{mutex_};
  return lastUpdated_;
}

void BVBeacon::setLastUpdated(Date lastUpdated) {
  const std::lock_guard lock{mutex_};
  lastUpdated_ = lastUpdated;
}

std::optional<std::string> BVBeacon::IPAddr() const {
  const std::lock_guard lock{mutex_};
  return ipAddr_;
}

void BVBeacon::setIPAddr(const std::optional<std::string>& IPAddr) {
  const std::lock_guard lock{mutex_};
  ipAddr_ = IPAddr;
}

std::optional<std::string> BVBeacon::friendlyName() const {
  const std::lock_guard lock{mutex_};
  return friendlyName_;
}

void BVBeacon::setFriendlyName(const std::optional<std::string>& friendlyName) {
  const std::lock_guard lock{mutex_};
  friendlyName_ = friendlyName;
}

std::optional<Date> BVBeacon::lastGetFriendlyName() const {
  const std::lock_guard lock{mutex_};
  return lastGetFriendlyName_;
}

void BVBeacon::setLastGetFriendlyName(std::optional<Date> lastGetFriendlyName) {
  const std::lock_guard lock{mutex_};
  lastGetFriendlyName_ = lastGetFriendlyName;
}

std::optional<std::string> BVBeacon::keyValue() const { return std::nullopt; }

}  // namespace tessel
