#pragma once

#include <string>
#include <vector>

namespace tessel::hub {

/// The addresses at which a hub serves that listens at `bind`: that one, or all of this machine's
/// where it stands for them (0.0.0.0 for those of IPv4, :: for all).
std::vector<std::string> servedAddresses(const std::string& bind);

/// Those of them by which senders on other machines cast to the hub: `bind`, or this machine's IPv4
/// addresses, the first one first, without the loopback. Empty when there is no network.
std::vector<std::string> addressesForSenders(const std::string& bind);

}  // namespace tessel::hub
