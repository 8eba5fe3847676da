#pragma once

#include <optional>
#include <string>

#include "tessel/Types.h"

namespace tessel::apps {

/// A hub in range, as `tessel discover` tells of it. Only hubs with an address are told of.
struct Hub {
  std::string address;
  std::optional<std::string> name;  ///< as the hub sent it; none until fetched
  std::optional<int> rssi;          ///< dBm; none when the controller does not tell
  Date lastHeard;
};

}  // namespace tessel::apps
