#pragma once

#include <memory>
#include <string>

#include "platform/SystemLog.h"

namespace tessel::platform {

/// The system journal; not available without a socket at `socketPath`.
std::shared_ptr<SystemLog> makeSystemLog(
    const std::string& socketPath = "/run/systemd/journal/socket");

}  // namespace tessel::platform
