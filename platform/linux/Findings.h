#pragma once

#include "tessel/Diagnostics.h"

/// What diagnose() is put together from: each looks at one area of this machine.
namespace tessel::platform {

Finding findScreen();
Finding findEncoder();
Finding findInput();
/// Gives Bluetooth two seconds to answer.
Finding findBluetooth();
Finding findConfiguration();

}  // namespace tessel::platform
