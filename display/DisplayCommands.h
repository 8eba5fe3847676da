#pragma once

#include <array>
#include <cstdint>

/// Codes in the headers of the display channel's messages, and the commands that open it.
namespace tessel {

/// Asks for a decoding context. To the hub.
inline constexpr std::uint8_t VSCH_CMD_CREATE_CONTEXT = 0x02;
/// Ends a decoding context. To the hub.
inline constexpr std::uint8_t VSCH_CMD_DESTROY_CONTEXT = 0x04;
/// A frame's first piece, or a further one. To the hub.
inline constexpr std::uint8_t VSCH_CMD_SIMPLE_TRANSMIT = 0x05;
/// A control message without content. To the hub.
inline constexpr std::uint8_t VSCH_CMD_SIMPLE_CONTROL = 0x06;
/// Answers the request for a context. From the hub; its body says nothing.
inline constexpr std::uint8_t VSCH_CMD_CREATE_CONTEXT_RESPONSE = 0x81;
/// Acknowledges one frame. From the hub; its body says nothing.
inline constexpr std::uint8_t VSCH_CMD_CONTROL_C2H = 0x87;

/// Opens the channel with the new protocol: a record of kind 0 with one byte of payload.
///
///     at  size  value
///      0     4  0      kind: display
///      4     4  1      length of the payload
///      8     1  0      payload
inline constexpr std::array<std::uint8_t, 9> kNewStartCommand = {0, 0, 0, 0, 1, 0, 0, 0, 0};

/// Opens the channel with the old protocol: its own length.
///
///     at  size  value
///      0     4  4
inline constexpr std::array<std::uint8_t, 4> kOldStartCommand = {4, 0, 0, 0};

}  // namespace tessel
