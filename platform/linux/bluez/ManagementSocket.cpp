#include "platform/linux/bluez/ManagementSocket.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/base/ByteOrder.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::uint16_t kReadIndexList = 0x0003;
constexpr std::uint16_t kReadControllerInformation = 0x0004;
constexpr std::uint16_t kCommandComplete = 0x0001;
constexpr std::uint16_t kNoController = 0xFFFF;
constexpr std::size_t kCommandSize = 6;
constexpr std::size_t kAnswerSize = 9;

// The socket of the kernel's Bluetooth management interface; closes it.
class Socket {
 public:
  Socket() {
    constexpr int kHostControllerInterface = 1;  // BTPROTO_HCI
    constexpr std::uint16_t kControlChannel = 3;
    fd_ = socket(AF_BLUETOOTH, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, kHostControllerInterface);
    if (fd_ < 0) return;
    // The address as the kernel lays it out: family, device, channel, each in its own byte order.
    const std::array<std::uint16_t, 3> address{AF_BLUETOOTH, kNoController, kControlChannel};
    sockaddr_storage storage{};
    std::memcpy(&storage, address.data(), sizeof address);
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&storage), sizeof address) == 0) return;
    close(fd_);
    fd_ = -1;
  }
  ~Socket() {
    if (fd_ >= 0) close(fd_);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  // The return parameters of a command without parameters.
  std::optional<std::vector<std::uint8_t>> ask(std::uint16_t command, std::uint16_t controller,
                                               Clock::time_point deadline) const {
    const auto packet = managementCommand(command, controller);
    if (fd_ < 0 || write(fd_, packet.data(), packet.size()) < 0) return std::nullopt;
    for (;;) {
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
      pollfd readable{fd_, POLLIN, 0};
      if (left <= 0 || poll(&readable, 1, static_cast<int>(left)) <= 0) return std::nullopt;
      std::array<std::uint8_t, 1024> buffer;
      const auto size = read(fd_, buffer.data(), buffer.size());
      if (size < 0) return std::nullopt;
      // Events about what else happens come in between.
      const std::span<const std::uint8_t> received{buffer.data(), static_cast<std::size_t>(size)};
      if (const auto answer = managementAnswer(received, command, controller)) {
        return std::vector<std::uint8_t>{answer->begin(), answer->end()};
      }
    }
  }

 private:
  int fd_;
};

}  // namespace

std::vector<std::uint8_t> managementCommand(std::uint16_t command, std::uint16_t controller) {
  std::array<std::uint8_t, kCommandSize> packet{};
  const std::span<std::uint8_t, kCommandSize> fields{packet};
  putLittleEndian<0>(fields, command);
  putLittleEndian<2>(fields, controller);
  return {packet.begin(), packet.end()};
}

std::optional<std::span<const std::uint8_t>> managementAnswer(std::span<const std::uint8_t> packet,
                                                              std::uint16_t command,
                                                              std::uint16_t controller) {
  if (packet.size() < kAnswerSize) return std::nullopt;
  const auto head = packet.first<kAnswerSize>();
  if (getLittleEndian<0, std::uint16_t>(head) != kCommandComplete ||
      getLittleEndian<2, std::uint16_t>(head) != controller ||
      getLittleEndian<6, std::uint16_t>(head) != command || head[8] != 0) {
    return std::nullopt;
  }
  return packet.subspan(kAnswerSize);
}

std::optional<unsigned> controllerVersionOfKernel() {
  const Socket socket;
  const auto deadline = Clock::now() + 1s;
  const auto list = socket.ask(kReadIndexList, kNoController, deadline);
  if (!list) return std::nullopt;
  std::optional<unsigned> highest;
  // The number of controllers in two bytes, then two for the index of each.
  for (std::size_t at = 2; at + 1 < list->size(); at += 2) {
    const auto controller = static_cast<std::uint16_t>((*list)[at] | (*list)[at + 1] << 8);
    const auto information = socket.ask(kReadControllerInformation, controller, deadline);
    // The address of the controller in six bytes, then its version.
    if (!information || information->size() < 7) continue;
    highest = std::max(highest.value_or(0), static_cast<unsigned>((*information)[6]));
  }
  return highest;
}

}  // namespace tessel::platform
