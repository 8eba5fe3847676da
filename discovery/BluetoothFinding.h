#pragma once

#include "tessel/Finding.h"

namespace tessel {

/// Whether hubs can be heard; Bluetooth is given two seconds to answer. Any thread.
Finding findBluetooth();

}  // namespace tessel
