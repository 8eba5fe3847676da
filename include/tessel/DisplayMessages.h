#pragma once

#include <array>
#include <cstdint>

#include "tessel/Export.h"

/// Messages of the display channel. All integers are little-endian. Every message begins with
///
///     at  size  field    meaning
///      0     2  length   bytes of this message, these four included
///      2     1  command  what the message is
///      3     1  more     1 when further pieces of the same payload follow
namespace tessel {

/// Asks the hub for an H.264 decoding context.
using H264ContextRequestMsg = std::array<std::uint8_t, 228>;
/// A control message without content.
using SimpleControlMsg = std::array<std::uint8_t, 24>;
/// Goes in front of a frame's first piece.
using SimpleTransmitMsg = std::array<std::uint8_t, 56>;
/// Ends a decoding context.
using DestroyContextMsg = std::array<std::uint8_t, 12>;

/// Writes all 228 bytes of `message`; the fields that tell the picture's size are left 0.
TESSEL_EXPORT void DefaultH264ContextRequestMsg(H264ContextRequestMsg& message);

/// Writes the picture's size into `message`: width and height in pixels. The image size is the
/// 32-bit product of the three arguments, which counts bits rather than bytes.
TESSEL_EXPORT void SetH264ContextRequestMsgResolution(H264ContextRequestMsg& message,
                                                      std::uint32_t width, std::uint32_t height,
                                                      std::uint32_t bitsPerPixel);

/// Writes all 24 bytes of `message`.
TESSEL_EXPORT void DefaultSimpleControlMsg(SimpleControlMsg& message);

/// Writes all 56 bytes of `message` for an empty payload.
TESSEL_EXPORT void DefaultSimpleTransmitMsg(SimpleTransmitMsg& message);

/// The message that ends a decoding context.
TESSEL_EXPORT DestroyContextMsg DefaultDestroyContextMsg();

}  // namespace tessel
