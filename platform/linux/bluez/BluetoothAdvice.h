#pragma once

#include <string>

#include "platform/BluetoothCentral.h"

namespace tessel::platform {

/// What to do about a radio in that state; empty when nothing needs doing. `switches`: the folder
/// in which the kernel tells what keeps radios off.
std::string bluetoothAdvice(CentralState state, const std::string& switches = "/sys/class/rfkill");

}  // namespace tessel::platform
