#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/base/Synchronized.h"
#include "session/Heartbeat.h"
#include "session/StateRecord.h"
#include "tessel/TSLSession.h"
#include "wire/Ports.h"

namespace tessel {

/// A session's fields. Each is guarded by itself: the host's threads, URL-session callbacks,
/// channel queues and the main queue all read and write them.
struct TSLSession::Fields {
  Fields(const std::optional<std::string>& host, std::int64_t mode)
      : hostName{host}, displayMode{mode} {}

  std::atomic<bool> sslEnabled = false;
  std::atomic<bool> newProtocol = false;
  std::atomic<bool> multiTokenProtocol = false;
  std::atomic<bool> busyStatus = false;
  std::atomic<std::int32_t> lauchport = kDetailsPort.number;
  StateRecord state{TSLSessionStateDisconnected};
  platform::Synchronized<std::shared_ptr<TSLDisplayConnection>> displayConnection;
  const std::optional<std::string> hostName;
  const std::int64_t displayMode;
  platform::Synchronized<std::weak_ptr<TSLSessionDelegate>> delegate;
  platform::Synchronized<std::shared_ptr<OperationQueue>> delegateQueue;
  platform::Synchronized<std::optional<std::string>> applicationURL;
  platform::Synchronized<std::shared_ptr<TSLSessionConfigration>> sessionConfig;
  Heartbeat heartbeat;
  platform::Synchronized<std::string> applicationName{"ReceiverAppV1"};
  platform::Synchronized<std::optional<std::string>> deviceDetailsXML;
  platform::Synchronized<std::shared_ptr<TSLMouseConnection>> mouseConnection;
  platform::Synchronized<std::shared_ptr<TSLKeyBoardConnection>> keyBoardConnection;
};

}  // namespace tessel
