#pragma once

#include <map>
#include <string>

#include "tessel/Types.h"

namespace tessel {

/// What a Bluetooth stack reports of one advertisement: values under their keys.
using AdvertisementDictionary = std::map<std::string, Bytes>;

/// Key of an advertisement's manufacturer data.
inline constexpr const char* CBAdvertisementDataManufacturerDataKey = "kCBAdvDataManufacturerData";

}  // namespace tessel
