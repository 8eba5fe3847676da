#pragma once

#include <memory>
#include <string>

#include "platform/Inspection.h"
#include "tessel/Finding.h"

/// What the inspection of this machine is put together from.
namespace tessel::platform {

Finding findScreen();
Finding findInput();
/// What to do about a radio in that state; empty when nothing needs doing. `switches`: the folder
/// in which the kernel tells what keeps radios off.
std::string bluetoothAdvice(CentralState state, const std::string& switches = "/sys/class/rfkill");

/// All of them as one service.
std::shared_ptr<Inspection> makeInspection();

}  // namespace tessel::platform
