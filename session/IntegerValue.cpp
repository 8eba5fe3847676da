#include "session/IntegerValue.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace tessel {

std::int64_t integerValue(std::string_view text) {
  const auto start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string_view::npos) return 0;
  text.remove_prefix(start);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return 0;  // two signs make no number
  }
  std::int64_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    return text.starts_with('-') ? std::numeric_limits<std::int64_t>::min()
                                 : std::numeric_limits<std::int64_t>::max();
  }
  return value;
}

}  // namespace tessel
