#include "platform/Services.h"
#include "platform/linux/Findings.h"
#include "platform/linux/InputServices.h"
#include "platform/linux/JournalLog.h"
#include "platform/linux/VideoServices.h"
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
  services.inspection = makeInspection();
  services.urlSessions = makeURLSessions(services.queues);
  services.xml = makeXMLParser();
  services.files = makeFiles();
  services.userDefaults = makeUserDefaults(services.files);
  services.localization = makeLocalization(services.files);
  services.bluetooth = makeBluetooth();

  const VideoServices video = makeVideoServices(services.queues, services.clock);
  services.screens = video.screens;
  services.screenCapture = video.screenCapture;
  services.videoEncoding = video.videoEncoding;
  services.eventPosting = makeEventPosting(video.choice);
  return services;
}

}  // namespace tessel::platform
