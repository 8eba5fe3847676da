#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/linux/x11/XConnection.h"

/// XSETTINGS: what a desktop tells its X clients about itself, in a property of a window that its
/// settings daemon owns.
namespace tessel::platform {

/// The settings of the first screen, as they stand in the property; empty without a daemon. May
/// wait for the server. They are another client's bytes: anything may be in them.
std::vector<std::uint8_t> readXSettings(const XConnection& connection);

/// The integer setting of this name; none when there is no such setting or the bytes are no
/// settings.
std::optional<std::int32_t> integerXSetting(std::span<const std::uint8_t> settings,
                                            std::string_view name);

}  // namespace tessel::platform
