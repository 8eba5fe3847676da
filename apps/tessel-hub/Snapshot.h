#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Picture.h"

namespace tessel::hub {

/// `picture` as rows of 3 bytes a pixel: red, green, blue.
std::vector<std::uint8_t> rgbFrom(const Picture& picture);

/// Writes `picture` to the PNG file at `path`, whole or not at all. False if it cannot; `problem`
/// says why.
bool writeSnapshot(const Picture& picture, const std::string& path, std::string& problem);

}  // namespace tessel::hub
