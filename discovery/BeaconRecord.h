#pragma once

#include <cstddef>
#include <cstdint>

#include "tessel/BVBeacon.h"
#include "tessel/Types.h"

/// Layout of a beacon in the manufacturer data of an advertisement:
///
///     at  size  field             value
///      0     2  company           0x004C, little-endian
///      2     1  type              0x02
///      3     1  remaining length  0x15
///      4    16  proximity UUID
///     20     2  major             big-endian
///     22     2  minor             big-endian
///     24     1  measured power    signed
namespace tessel {

inline constexpr std::uint16_t kBeaconCompany = 0x004C;
inline constexpr std::uint8_t kBeaconType = 0x02;
inline constexpr std::uint8_t kBeaconRemainingLength = 0x15;
inline constexpr std::size_t kBeaconPayloadOffset = 4;
inline constexpr std::size_t kBeaconPayloadSize = kBeaconRemainingLength;
inline constexpr std::size_t kBeaconRecordSize = kBeaconPayloadOffset + kBeaconPayloadSize;

/// The record of `beacon` without its company, as Bluetooth stacks take and report it.
inline Bytes beaconDataOfCompany(const BVBeacon& beacon) {
  Bytes data{kBeaconType, kBeaconRemainingLength};
  const Bytes payload = beacon.manufacturerAdvertismentData();
  data.insert(data.end(), payload.begin(), payload.end());
  return data;
}

}  // namespace tessel
