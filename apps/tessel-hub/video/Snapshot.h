#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/tessel-hub/video/Picture.h"

namespace tessel::hub {

/// The pixels of `picture`, 3 bytes each: red, green, blue.
std::vector<std::uint8_t> rgbFrom(const Picture& picture);

/// Whether a snapshot can be written to `path`, as far as that shows without writing; else
/// `problem` says why not. Changes nothing at `path`.
bool canWriteSnapshot(const std::string& path, std::string& problem);

/// Writes `picture` to `path` as PNG. A regular file is replaced, whole or not at all; anything
/// else there, such as a device, is written into. False if it cannot; `problem` says why.
bool writeSnapshot(const Picture& picture, const std::string& path, std::string& problem);

}  // namespace tessel::hub
