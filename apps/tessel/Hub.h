#pragma once

#include <optional>
#include <string>

#include "tessel/Types.h"

namespace tessel::apps {

/// A hub in range, as `tessel discover` lists it. Hubs without an address are not listed.
struct Hub {
  std::string address;
  std::optional<std::string> name;  ///< as the hub sent it; none until fetched
  std::optional<int> rssi;          ///< dBm; none when the controller does not know it
  Date lastHeard;
};

}  // namespace tessel::apps
