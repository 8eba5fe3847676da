#pragma once

#include <optional>
#include <string>

#include "apps/common/EventLoop.h"

namespace tessel::apps {

/// What `tessel discover` was asked to do.
struct DiscoverOptions {
  std::optional<double> timeout;  ///< seconds; none: until interrupted
  bool json = false;
};

/// Lists the hubs in range until interrupted or until the time is up: as a table that changes in
/// place on a terminal, as plain lines elsewhere. Returns the program's exit code: 1 when Bluetooth
/// could not be used at the end.
int runDiscover(EventLoop& loop, const DiscoverOptions& options);

/// A hub that can be cast to.
struct FoundHub {
  std::string address;
  std::optional<std::string> name;  ///< none when it was not fetched yet
};

/// Waits for a hub: the one with this friendly name, or the first one heard. Says on standard
/// error when Bluetooth cannot be used. None when interrupted, or when `timeout` (in seconds) has
/// passed.
std::optional<FoundHub> waitForHub(EventLoop& loop, const std::optional<std::string>& name,
                                   std::optional<double> timeout);

}  // namespace tessel::apps
