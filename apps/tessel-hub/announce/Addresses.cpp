#include "apps/tessel-hub/announce/Addresses.h"

#include <arpa/inet.h>
#include <array>
#include <functional>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace tessel::hub {
namespace {

constexpr const char* kAnyAddress = "0.0.0.0";
constexpr const char* kAnyAddressOfBothFamilies = "::";

bool isOneAddress(const std::string& bind) {
  return bind != kAnyAddress && bind != kAnyAddressOfBothFamilies;
}

std::string textOf(const sockaddr& address) {
  const void* bytes =
      address.sa_family == AF_INET
          ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
          : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
  std::array<char, INET6_ADDRSTRLEN> text{};
  const char* done = inet_ntop(address.sa_family, bytes, text.data(), text.size());
  return done != nullptr ? done : "";
}

// The addresses of the interfaces that are up and `wanted`.
std::vector<std::string> addressesOfInterfaces(const std::function<bool(const ifaddrs&)>& wanted) {
  std::vector<std::string> addresses;
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) return addresses;
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || (entry->ifa_flags & IFF_UP) == 0) continue;
    const int family = entry->ifa_addr->sa_family;
    if ((family != AF_INET && family != AF_INET6) || !wanted(*entry)) continue;
    addresses.push_back(textOf(*entry->ifa_addr));
  }
  freeifaddrs(first);
  return addresses;
}

}  // namespace

std::vector<std::string> servedAddresses(const std::string& bind) {
  if (isOneAddress(bind)) return {bind};
  return addressesOfInterfaces([&bind](const ifaddrs& entry) {
    return entry.ifa_addr->sa_family == AF_INET || bind == kAnyAddressOfBothFamilies;
  });
}

std::vector<std::string> addressesForSenders(const std::string& bind) {
  if (isOneAddress(bind)) return {bind};
  return addressesOfInterfaces([](const ifaddrs& entry) {
    return entry.ifa_addr->sa_family == AF_INET && (entry.ifa_flags & IFF_LOOPBACK) == 0;
  });
}

}  // namespace tessel::hub
