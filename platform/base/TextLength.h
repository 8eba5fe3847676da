#pragma once

#include <cstddef>
#include <string_view>

namespace tessel::platform {

/// Length of a UTF-8 text in UTF-16 units, the ones in which the platform's own texts are counted:
/// one for each character, two for one outside the basic plane.
std::size_t lengthInUTF16(std::string_view text);

}  // namespace tessel::platform
