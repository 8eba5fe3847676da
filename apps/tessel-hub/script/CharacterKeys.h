#pragma once

#include <optional>

#include "apps/tessel-hub/channels/HubKey.h"

namespace tessel::hub {

/// The special keys that typing needs.
constexpr HubKey kTabKey{.special = true, .code = 2};
constexpr HubKey kReturnKey{.special = true, .code = 3};
constexpr HubKey kShiftKey{.special = true, .code = 5};

/// The key of a character, and whether Shift is held with it.
struct CharacterKey {
  HubKey key;
  bool shift = false;
};

/// None unless the character is printable ASCII, a line feed or a tab.
std::optional<CharacterKey> keyForCharacter(char character);

}  // namespace tessel::hub
