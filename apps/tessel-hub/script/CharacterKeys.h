#pragma once

#include <optional>

#include "apps/tessel-hub/channels/InputRecords.h"

namespace tessel::hub {

/// Special keys of the hub that typing needs.
constexpr HubKey kTabKey{.special = true, .code = 2};
constexpr HubKey kReturnKey{.special = true, .code = 3};
constexpr HubKey kShiftKey{.special = true, .code = 5};

/// How a character is typed.
struct CharacterKey {
  HubKey key;
  bool shift = false;
};

/// Nothing for what is neither printable ASCII nor a line feed nor a tab.
std::optional<CharacterKey> keyForCharacter(char character);

}  // namespace tessel::hub
