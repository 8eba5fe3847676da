#pragma once

#include <memory>

#include "platform/NetworkConnection.h"
#include "platform/Queues.h"

/// What the channels of the hub's mouse and keyboard have in common.
namespace tessel {

class TSLSession;

/// The ports of a channel.
struct HubPorts {
  const char* newProtocol;
  const char* oldProtocol;
};

/// A connection, not yet started, to the session's hub: to the port of its protocol, with TLS if
/// it asks for it. Null without a session or without a host name.
std::shared_ptr<platform::NetworkConnection> makeHubConnection(
    const std::shared_ptr<TSLSession>& session, const HubPorts& ports,
    const std::shared_ptr<platform::SerialQueue>& queue);

}  // namespace tessel
