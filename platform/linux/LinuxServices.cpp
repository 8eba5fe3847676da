#include "platform/Services.h"
#include "platform/libav/LibavVideoEncoding.h"
#include "platform/linux/DesktopChoice.h"
#include "platform/linux/JournalLog.h"
#include "platform/linux/bluez/BluetoothServices.h"
#include "platform/posix/SystemClock.h"
#include "platform/posix/files/FileServices.h"
#include "platform/posix/http/HttpServices.h"
#include "platform/posix/net/NetServices.h"

namespace tessel::platform {

Services makeServices() {
  Services services;
  services.clock = makeClock();
  services.queues = makeQueues();
  services.network = makeNetwork();
  services.systemLog = makeSystemLog();
  services.urlSessions = makeURLSessions(services.queues);
  services.xml = makeXMLParser();
  services.files = makeFiles();
  services.userDefaults = makeUserDefaults(services.files);
  services.localization = makeLocalization(services.files);
  services.bluetooth = makeBluetooth();

  services.desktops = std::make_shared<DesktopChoice>(services.queues, services.clock);
  services.videoEncoding = std::make_shared<LibavVideoEncoding>(services.clock);
  return services;
}

}  // namespace tessel::platform
