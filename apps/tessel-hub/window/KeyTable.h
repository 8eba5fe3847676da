#pragma once

#include <SDL_scancode.h>
#include <optional>

#include "apps/tessel-hub/channels/InputRecords.h"

namespace tessel::hub {

/// The hub's code for a key of this keyboard, by the key's place on it: the sender's layout decides
/// what it types. With `numLock` the keypad's digits are sent as the digits they are, since the
/// hub's own num-lock key counts only while it is held down. Nothing for a key without a code.
std::optional<HubKey> hubKeyFor(SDL_Scancode scancode, bool numLock);

}  // namespace tessel::hub
