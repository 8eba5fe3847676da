#include "platform/posix/Environment.h"

#include <cstdlib>

namespace tessel::platform {

const char* environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace tessel::platform
