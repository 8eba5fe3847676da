#include "platform/linux/bluez/BlueZAdapters.h"

#include <cstdlib>

namespace tessel::platform {

std::string adapterOfEnvironment() {
  const char* name = std::getenv("TESSEL_ADAPTER");
  return name != nullptr ? name : "";
}

bool isAdapter(const std::string& path, const std::string& only) {
  return only.empty() || path.ends_with("/" + only);
}

}  // namespace tessel::platform
