#include "platform/Services.h"
#include "platform/linux/CoreServices.h"
#include "platform/linux/DataServices.h"

namespace tessel::platform {

Services makeServices() {
  Services services;
  services.clock = makeClock();
  services.queues = makeQueues();
  services.network = makeNetwork();
  services.systemLog = makeSystemLog();
  services.xml = makeXMLParser();
  services.files = makeFiles();
  services.userDefaults = makeUserDefaults(services.files);
  services.localization = makeLocalization(services.files);
  return services;
}

}  // namespace tessel::platform
