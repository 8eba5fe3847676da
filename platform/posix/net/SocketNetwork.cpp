#include <openssl/crypto.h>

#include "platform/posix/net/NetServices.h"
#include "platform/posix/net/SocketConnection.h"

namespace tessel::platform {
namespace {

class SocketNetwork final : public Network {
 public:
  explicit SocketNetwork(Clock::Duration timeout) : timeout_{timeout} {}

  std::shared_ptr<NetworkConnection> makeConnection(
      const Endpoint& endpoint, bool tls, const std::shared_ptr<SerialQueue>& queue) override {
    return std::make_shared<SocketConnection>(endpoint, tls, queue, timeout_);
  }

 private:
  const Clock::Duration timeout_;
};

}  // namespace

std::shared_ptr<Network> makeNetwork(Clock::Duration timeout) {
  // Queue threads may still be in a connection while the process exits.
  OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
  return std::make_shared<SocketNetwork>(timeout);
}

}  // namespace tessel::platform
