#pragma once

#include <memory>

#include "platform/BluetoothCentral.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Files.h"
#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "platform/SystemLog.h"
#include "platform/URLSessions.h"
#include "platform/VideoEncoder.h"
#include "platform/XMLParser.h"

namespace tessel::platform {

/// Everything that the logic asks of the system it runs on. A process has one set; a test swaps in
/// its own (see ScopedServices) before it makes any object of the library.
struct Services {
  std::shared_ptr<Clock> clock;
  std::shared_ptr<Queues> queues;
  std::shared_ptr<Network> network;
  std::shared_ptr<URLSessions> urlSessions;
  std::shared_ptr<XMLParser> xml;
  std::shared_ptr<Files> files;
  std::shared_ptr<UserDefaults> userDefaults;
  std::shared_ptr<Localization> localization;
  std::shared_ptr<Desktops> desktops;
  std::shared_ptr<VideoEncoding> videoEncoding;
  std::shared_ptr<Bluetooth> bluetooth;
  std::shared_ptr<SystemLog> systemLog;
};

/// The set in force. Any thread; the set itself does not change while the library is in use.
const Services& services();

/// This platform's services. Each platform defines it once; nothing is opened yet.
Services makeServices();

/// Puts another set in force for as long as it lives. Not while any other thread uses the library.
class ScopedServices {
 public:
  explicit ScopedServices(Services services);
  ~ScopedServices();
  ScopedServices(const ScopedServices&) = delete;
  ScopedServices& operator=(const ScopedServices&) = delete;

 private:
  Services previous_;
};

}  // namespace tessel::platform
