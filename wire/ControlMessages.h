#pragma once

#include <cstdint>

#include "tessel/DisplayMessages.h"

/// Messages of the display channel that carry nothing but their command. Only built: a receiver
/// skips their bodies.
namespace tessel {

/// 12 bytes: header, then zeros. Ends a context as VSCH_CMD_DESTROY_CONTEXT; the hub answers the
/// request for one with the same bytes as VSCH_CMD_CREATE_CONTEXT_RESPONSE.
DestroyContextMsg contextMessage(std::uint8_t command);

/// 24 bytes, little-endian; what is not listed is 0. A control message is
/// VSCH_CMD_SIMPLE_CONTROL; the hub acknowledges a frame with the same bytes as
/// VSCH_CMD_CONTROL_C2H.
///
///     at  size  value    meaning
///      0     2  24       length
///      2     1  command
///     12     2  12
///     14     2  1
///     16     4  8        bytes behind offset 16
SimpleControlMsg controlMessage(std::uint8_t command);

}  // namespace tessel
