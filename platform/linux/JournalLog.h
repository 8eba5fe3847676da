#pragma once

#include <memory>
#include <string>

#include "platform/SystemLog.h"

namespace tessel::platform {

/// The journal; not available where nothing listens at `socketPath`.
std::shared_ptr<SystemLog> makeSystemLog(
    const std::string& socketPath = "/run/systemd/journal/socket");

}  // namespace tessel::platform
