#pragma once

#include <optional>
#include <string>

#include "apps/common/EventLoop.h"

namespace tessel::apps {

/// The options of `tessel discover`.
struct DiscoverOptions {
  std::optional<double> timeout;  ///< seconds; none: until interrupted
  bool json = false;
};

/// Lists the hubs in range until interrupted or until the time is up: as a table that changes in
/// place on a terminal, as plain lines elsewhere. Returns the program's exit code: 1 when Bluetooth
/// could not be used at the end.
int runDiscover(EventLoop& loop, const DiscoverOptions& options);

/// Waits for a hub, the one with this friendly name or the first in range, and returns its address;
/// none when interrupted. Reports on standard error that it listens, that Bluetooth cannot be used,
/// and, when the wait is long, which hubs were found.
std::optional<std::string> waitForHub(EventLoop& loop, const std::optional<std::string>& name);

}  // namespace tessel::apps
