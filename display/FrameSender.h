#pragma once

#include <cstddef>

#include "display/ByteSink.h"

namespace tessel {

/// Sends one encoded frame as a transmit message and, where it is longer than one piece, its
/// extended commands; each header and each piece is a send of its own. Ends at the first send that
/// fails. The frames of one channel are sent one after another.
void sendFrame(ByteSink& sink, const void* bytes, std::size_t length);

}  // namespace tessel
