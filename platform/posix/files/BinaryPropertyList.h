#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "tessel/PropertyList.h"

namespace tessel::platform {

/// Whether `file` begins as a property list in the binary format. Pure; any thread.
bool isBinaryPropertyList(std::span<const std::uint8_t> file);

/// The value in a binary property list; none when it is damaged, nests deeper than 128 or unfolds
/// to more than 100 000 values or 16 MiB of text (containers may share members, so a small file can
/// hold a huge tree). Pure; any thread.
std::optional<PropertyListValue> parseBinaryPropertyList(std::span<const std::uint8_t> file);

}  // namespace tessel::platform
