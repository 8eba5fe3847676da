#pragma once

#include <memory>

#include "platform/BluetoothCentral.h"

namespace tessel::platform {

/// Bluetooth through BlueZ. Nothing is opened before a central is made.
std::shared_ptr<Bluetooth> makeBluetooth();

}  // namespace tessel::platform
