#include "platform/linux/bluez/ManagementSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "platform/base/ByteOrder.h"

namespace tessel::platform {
namespace {

constexpr std::uint16_t kReadIndexList = 0x0003;
constexpr std::uint16_t kReadControllerInformation = 0x0004;
constexpr std::uint16_t kCommandComplete = 0x0001;
constexpr std::uint16_t kCommandStatus = 0x0002;
constexpr std::uint16_t kNoController = 0xFFFF;
constexpr std::size_t kCommandSize = 6;
constexpr std::size_t kAnswerSize = 9;
constexpr std::size_t kMaxPacketSize = 1024;

bool isTransient(int error) { return error == EINTR || error == EAGAIN; }

}  // namespace

ManagementSocket ManagementSocket::open() {
  constexpr int kHostControllerInterface = 1;  // BTPROTO_HCI
  constexpr std::uint16_t kControlChannel = 3;
  FileDescriptor opened{
      socket(AF_BLUETOOTH, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, kHostControllerInterface)};
  if (!opened) return ManagementSocket{{}};
  // The address as the kernel lays it out: family, device, channel, each in native byte order.
  const std::array<std::uint16_t, 3> address{AF_BLUETOOTH, kNoController, kControlChannel};
  sockaddr_storage storage{};
  std::memcpy(&storage, address.data(), sizeof address);
  if (bind(opened.get(), reinterpret_cast<const sockaddr*>(&storage), sizeof address) != 0) {
    return ManagementSocket{{}};
  }
  return ManagementSocket{std::move(opened)};
}

std::vector<std::uint8_t> ManagementSocket::receive(Clock::time_point deadline) const {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return {};
    pollfd readable{socket_.get(), POLLIN, 0};
    const int ready = poll(&readable, 1, static_cast<int>(left));
    if (ready < 0 && !isTransient(errno)) return {};
    if (ready <= 0) continue;
    std::vector<std::uint8_t> packet(kMaxPacketSize);
    const auto size = read(socket_.get(), packet.data(), packet.size());
    if (size < 0 && isTransient(errno)) continue;
    packet.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return packet;
  }
}

std::optional<std::vector<std::uint8_t>> ManagementSocket::ask(std::uint16_t command,
                                                               std::uint16_t controller,
                                                               Clock::time_point deadline) const {
  const auto packet = managementCommand(command, controller);
  if (!socket_ || write(socket_.get(), packet.data(), packet.size()) < 0) return std::nullopt;
  for (;;) {
    const auto received = receive(deadline);
    if (received.empty()) return std::nullopt;
    // Events about other things come in between.
    const auto answer = managementAnswer(received, command, controller);
    if (!answer) continue;
    if (answer->status != 0) return std::nullopt;
    return std::vector<std::uint8_t>{answer->parameters.begin(), answer->parameters.end()};
  }
}

std::optional<unsigned> ManagementSocket::controllerVersion(Clock::time_point deadline) const {
  const auto list = ask(kReadIndexList, kNoController, deadline);
  if (!list) return std::nullopt;
  std::optional<unsigned> highest;
  // The number of controllers in two bytes, then two for the index of each.
  for (std::size_t at = 2; at + 1 < list->size(); at += 2) {
    const auto controller = static_cast<std::uint16_t>((*list)[at] | (*list)[at + 1] << 8);
    const auto information = ask(kReadControllerInformation, controller, deadline);
    // The address of the controller in six bytes, then its version.
    if (!information || information->size() < 7) continue;
    highest = std::max(highest.value_or(0), static_cast<unsigned>((*information)[6]));
  }
  return highest;
}

std::vector<std::uint8_t> managementCommand(std::uint16_t command, std::uint16_t controller) {
  std::array<std::uint8_t, kCommandSize> packet{};
  const std::span<std::uint8_t, kCommandSize> fields{packet};
  putLittleEndian<0>(fields, command);
  putLittleEndian<2>(fields, controller);
  return {packet.begin(), packet.end()};
}

std::optional<ManagementAnswer> managementAnswer(std::span<const std::uint8_t> packet,
                                                 std::uint16_t command, std::uint16_t controller) {
  if (packet.size() < kAnswerSize) return std::nullopt;
  const auto head = packet.first<kAnswerSize>();
  const auto event = getLittleEndian<0, std::uint16_t>(head);
  if ((event != kCommandComplete && event != kCommandStatus) ||
      getLittleEndian<2, std::uint16_t>(head) != controller ||
      getLittleEndian<6, std::uint16_t>(head) != command) {
    return std::nullopt;
  }
  return ManagementAnswer{head[8], packet.subspan(kAnswerSize)};
}

}  // namespace tessel::platform
