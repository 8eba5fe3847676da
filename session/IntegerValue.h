#pragma once

#include <cstdint>
#include <string_view>

namespace tessel {

/// The decimal integer at the start of `text`, after optional white space and a sign; 0 when there
/// is none. A number too large for the type gives the nearest one that fits.
std::int64_t integerValue(std::string_view text);

}  // namespace tessel
