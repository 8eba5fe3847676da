#pragma once

#include <compare>
#include <cstdint>

namespace tessel::hub {

/// A key in the hub's codes: a character of ASCII, or a special key.
struct HubKey {
  bool special = false;
  std::int16_t code = 0;

  auto operator<=>(const HubKey&) const = default;
};

}  // namespace tessel::hub
