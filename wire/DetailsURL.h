#pragma once

#include <string>

#include "wire/Ports.h"

namespace tessel {

/// Where a hub serves its device details, on `kDetailsPort`.
inline constexpr const char* kDetailsPath = "/device-details.xml";

/// The URL of the device details of the hub at `host`.
inline std::string detailsURL(const std::string& host) {
  return "http://" + host + ":" + kDetailsPort.text + kDetailsPath;
}

}  // namespace tessel
