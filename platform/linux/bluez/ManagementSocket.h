#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tessel::platform {

/// The link-layer version that controllers report to the kernel, 6 for Bluetooth 4.0: the highest
/// of all controllers of this machine. Reads the kernel's Bluetooth management interface, which
/// any user may; blocks for some milliseconds, at most a second. None without a controller.
std::optional<unsigned> controllerVersionOfKernel();

/// Command packet of the management interface:
///
///     at  size  field
///      0     2  command
///      2     2  index of the controller, 0xFFFF for none
///      4     2  size of the parameters
std::vector<std::uint8_t> managementCommand(std::uint16_t command, std::uint16_t controller);

/// The return parameters in `packet` when it is the successful answer to that command:
///
///     at  size  field
///      0     2  event, 0x0001 for a complete command
///      2     2  index of the controller
///      4     2  size of what follows
///      6     2  command
///      8     1  status, 0 for success
///      9        return parameters
std::optional<std::span<const std::uint8_t>> managementAnswer(std::span<const std::uint8_t> packet,
                                                              std::uint16_t command,
                                                              std::uint16_t controller);

}  // namespace tessel::platform
