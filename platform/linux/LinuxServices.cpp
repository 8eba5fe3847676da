#include "platform/Services.h"
#include "platform/linux/BluetoothServices.h"
#include "platform/linux/CoreServices.h"
#include "platform/linux/DataServices.h"
#include "platform/linux/Findings.h"
#include "platform/linux/InputServices.h"
#include "platform/linux/VideoServices.h"

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
