#pragma once

#include <SDL_scancode.h>
#include <optional>

#include "apps/tessel-hub/channels/HubKey.h"

namespace tessel::hub {

/// The hub's code for a key of this keyboard, by its place: the sender's layout decides what the
/// key types. With `numLock` the keypad's digits have the codes of digits, since the hub's own
/// num-lock key counts only while it is held. None for a key without a code.
std::optional<HubKey> hubKeyFor(SDL_Scancode scancode, bool numLock);

}  // namespace tessel::hub
