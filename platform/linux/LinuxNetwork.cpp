#include "platform/linux/CoreServices.h"
#include "platform/linux/SocketConnection.h"

namespace tessel::platform {
namespace {

class LinuxNetwork final : public Network {
 public:
  explicit LinuxNetwork(Clock::Duration timeout) : timeout_{timeout} {}

  std::shared_ptr<NetworkConnection> makeConnection(
      const Endpoint& endpoint, bool tls, const std::shared_ptr<SerialQueue>& queue) override {
    return std::make_shared<SocketConnection>(endpoint, tls, queue, timeout_);
  }

 private:
  const Clock::Duration timeout_;
};

}  // namespace

std::shared_ptr<Network> makeNetwork(Clock::Duration timeout) {
  return std::make_shared<LinuxNetwork>(timeout);
}

}  // namespace tessel::platform
