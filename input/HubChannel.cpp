#include "input/HubChannel.h"

#include "platform/Services.h"
#include "tessel/TSLSession.h"

namespace tessel {

std::shared_ptr<platform::NetworkConnection> makeHubConnection(
    const std::shared_ptr<TSLSession>& session, const HubPorts& ports,
    const std::shared_ptr<platform::SerialQueue>& queue) {
  const auto hostName = session ? session->hostName() : std::nullopt;
  if (!hostName) return nullptr;
  const char* const port = session->newProtocol() ? ports.newProtocol : ports.oldProtocol;
  return platform::services().network->makeConnection({*hostName, port}, session->sslEnabled(),
                                                      queue);
}

}  // namespace tessel
