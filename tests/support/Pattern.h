#pragma once

#include "tessel/Types.h"

namespace tessel::test {

/// `length` bytes that tell their place.
inline Bytes pattern(std::size_t length) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return bytes;
}

}  // namespace tessel::test
