#include "platform/Services.h"
#include "platform/linux/CoreServices.h"

namespace tessel::platform {

Services makeServices() {
  Services services;
  services.clock = makeClock();
  services.queues = makeQueues();
  services.network = makeNetwork();
  services.systemLog = makeSystemLog();
  return services;
}

}  // namespace tessel::platform
