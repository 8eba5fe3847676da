#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/base/ByteOrder.h"

namespace tessel {

/// The channels of a session, as their commands number them.
enum class ChannelKind : std::uint32_t { kDisplay = 0, kKeyboard = 1, kMouse = 2 };

/// A channel command: opens a channel, and carries the mouse channel's handshake. Little-endian.
/// Each of the few commands that there are is a constant below; a peer compares what it receives
/// with those.
///
///     at  size  field
///      0     4  kind of the channel
///      4     4  length of the payload
///      8     n  payload
template <std::size_t Length>
using ChannelCommand = std::array<std::uint8_t, 8 + Length>;

template <std::size_t Length>
constexpr ChannelCommand<Length> channelCommand(ChannelKind kind,
                                                const std::uint8_t (&payload)[Length]) {
  ChannelCommand<Length> command{};
  const std::span record{command};
  platform::putLittleEndian<0>(record, static_cast<std::uint32_t>(kind));
  platform::putLittleEndian<4>(record, std::uint32_t{Length});
  for (std::size_t i = 0; i < Length; ++i) command[8 + i] = payload[i];
  return command;
}

/// Opens the display channel with the old protocol: no channel command, but its own length.
///
///     at  size  value
///      0     4  4
inline constexpr std::array<std::uint8_t, 4> kOldStartCommand = {4, 0, 0, 0};
/// Opens the display channel with the new protocol.
inline constexpr auto kNewStartCommand = channelCommand(ChannelKind::kDisplay, {0});
inline constexpr auto kKeyboardOpening = channelCommand(ChannelKind::kKeyboard, {0});
inline constexpr auto kMouseOpening = channelCommand(ChannelKind::kMouse, {0});

/// The mouse channel's handshake: the sender asks for the cursor, then for the mouse, and the hub
/// replies to each.
inline constexpr auto kCursorCommand = channelCommand(ChannelKind::kMouse, {1, 1});
inline constexpr auto kCursorReply = channelCommand(ChannelKind::kMouse, {2, 1});
inline constexpr auto kCaptureCommand = channelCommand(ChannelKind::kMouse, {3, 1});
inline constexpr auto kCaptureReply = channelCommand(ChannelKind::kMouse, {4, 1});

}  // namespace tessel
