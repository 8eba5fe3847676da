#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/tessel-hub/video/Picture.h"

namespace tessel::hub {

/// `picture` as rows of 3 bytes a pixel: red, green, blue.
std::vector<std::uint8_t> rgbFrom(const Picture& picture);

/// Whether a snapshot can be written to `path`, as far as that can be told before; else `problem`
/// says why not. Leaves what is there as it is.
bool canWriteSnapshot(const std::string& path, std::string& problem);

/// Writes `picture` to the PNG file at `path`, whole or not at all; into what is there already and
/// is no regular file, such as a device. False if it cannot; `problem` says why.
bool writeSnapshot(const Picture& picture, const std::string& path, std::string& problem);

}  // namespace tessel::hub
