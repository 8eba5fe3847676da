#pragma once

#include <cstdint>

/// The TCP ports of a hub.
namespace tessel {

/// A port, as the decimal text that a connection takes and as the number that a server takes.
struct Port {
  const char* text;
  std::uint16_t number = 0;

  constexpr explicit Port(const char* decimal) : text{decimal} {
    for (; *decimal != '\0'; ++decimal) {
      number = static_cast<std::uint16_t>(number * 10 + (*decimal - '0'));
    }
  }
};

/// Device details, and the application service of a hub without TLS, over HTTP.
inline constexpr Port kDetailsPort{"55555"};
/// The display channel; with the new protocol the mouse and keyboard channels as well.
inline constexpr Port kChannelsPort{"1494"};
/// The mouse and keyboard channels with the old protocol.
inline constexpr Port kOldInputPort{"8500"};

}  // namespace tessel
