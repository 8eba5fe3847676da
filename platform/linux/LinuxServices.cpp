#include "platform/Services.h"

namespace tessel::platform {

Services makeServices() {
  Services services;
  return services;
}

}  // namespace tessel::platform
