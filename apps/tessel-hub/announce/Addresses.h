#pragma once

#include <string>
#include <vector>

namespace tessel::hub {

/// The addresses of a hub that listens at `bind`: that one, or all of this machine's for 0.0.0.0
/// (IPv4) and :: (IPv4 and IPv6).
std::vector<std::string> servedAddresses(const std::string& bind);

/// The addresses that senders on other machines cast to: `bind` if it is one address, else this
/// machine's IPv4 addresses without the loopback, in the order of its interfaces. Empty without a
/// network.
std::vector<std::string> addressesForSenders(const std::string& bind);

}  // namespace tessel::hub
