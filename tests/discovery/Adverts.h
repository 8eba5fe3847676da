#pragma once

#include <cstdint>

#include "tessel/BVBeacon.h"
#include "tessel/TSLDiscovery.h"

namespace tessel::test {

/// Manufacturer data of a beacon as the stack reports it: 25 bytes.
inline Bytes advert(const UUID& uuid, std::uint16_t major, std::uint16_t minor,
                    std::int8_t measuredPower = -59) {
  Bytes data{0x4C, 0x00, 0x02, 0x15};
  data.insert(data.end(), uuid.bytes.begin(), uuid.bytes.end());
  for (const std::uint16_t value : {major, minor}) {
    data.push_back(static_cast<std::uint8_t>(value >> 8));
    data.push_back(static_cast<std::uint8_t>(value));
  }
  data.push_back(static_cast<std::uint8_t>(measuredPower));
  return data;
}

/// The same with the hubs' proximity UUID.
inline Bytes hubAdvert(std::uint16_t major, std::uint16_t minor, std::int8_t measuredPower = -59) {
  return advert(TSLHubProximityUUID, major, minor, measuredPower);
}

}  // namespace tessel::test
