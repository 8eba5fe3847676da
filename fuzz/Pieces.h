#pragma once

#include <algorithm>
#include <span>

#include "tests/support/SimWorld.h"

namespace tessel::fuzz {

/// Delivers what follows the first byte of `data` in pieces of as many bytes as that byte says,
/// then the end of the stream.
inline void deliverInPieces(test::SimWorld& world, test::SimConnection& connection,
                            std::span<const std::uint8_t> data) {
  const std::size_t piece = data.empty() ? 1 : std::max<std::size_t>(data[0], 1);
  for (std::size_t at = 1; at < data.size(); at += piece) {
    const auto bytes = data.subspan(at, std::min(piece, data.size() - at));
    connection.deliver({bytes.begin(), bytes.end()});
    world.run();
  }
  connection.close();
  world.run();
}

}  // namespace tessel::fuzz
