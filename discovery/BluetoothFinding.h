#pragma once

#include "tessel/Finding.h"

namespace tessel {

/// Whether hubs can be discovered; waits up to two seconds for the state of Bluetooth. Any thread.
Finding findBluetooth();

}  // namespace tessel
