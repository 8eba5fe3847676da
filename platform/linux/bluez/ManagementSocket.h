#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/posix/FileDescriptor.h"

namespace tessel::platform {

/// The kernel's Bluetooth management interface: one command at a time, each answered by an event.
/// Blocks its caller. One thread at a time.
class ManagementSocket {
 public:
  using Clock = std::chrono::steady_clock;

  /// The kernel's interface, which any user may open for reading; not open when it refuses.
  static ManagementSocket open();
  /// Takes over a socket that carries whole packets.
  explicit ManagementSocket(FileDescriptor socket) : socket_{std::move(socket)} {}

  /// The return parameters of a command that has no parameters. None when the kernel refuses the
  /// command, at once, or does not answer by `deadline`.
  std::optional<std::vector<std::uint8_t>> ask(std::uint16_t command, std::uint16_t controller,
                                               Clock::time_point deadline) const;

  /// The link-layer version that controllers report to the kernel, 6 for Bluetooth 4.0: the highest
  /// of all controllers. None without a controller, or when none answers by `deadline`.
  std::optional<unsigned> controllerVersion(Clock::time_point deadline) const;

 private:
  // Waits for a packet; empty at the deadline, and when the socket has ended.
  std::vector<std::uint8_t> receive(Clock::time_point deadline) const;

  FileDescriptor socket_;
};

/// Command packet of the management interface:
///
///     at  size  field
///      0     2  command
///      2     2  index of the controller, 0xFFFF for none
///      4     2  size of the parameters
std::vector<std::uint8_t> managementCommand(std::uint16_t command, std::uint16_t controller);

/// How the kernel answered a command.
struct ManagementAnswer {
  std::uint8_t status;                       ///< 0 for success
  std::span<const std::uint8_t> parameters;  ///< of the packet that was read
};

/// The answer in `packet` to that command; none when the packet is about something else:
///
///     at  size  field
///      0     2  event, 0x0001 for a complete command, 0x0002 for a status alone
///      2     2  index of the controller
///      4     2  size of what follows
///      6     2  command
///      8     1  status
///      9        return parameters
std::optional<ManagementAnswer> managementAnswer(std::span<const std::uint8_t> packet,
                                                 std::uint16_t command, std::uint16_t controller);

}  // namespace tessel::platform
