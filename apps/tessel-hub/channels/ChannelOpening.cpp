#include "apps/tessel-hub/channels/ChannelOpening.h"

#include <algorithm>
#include <array>

namespace tessel::hub {
namespace {

constexpr std::array<std::uint8_t, 4> kOldDisplay{4, 0, 0, 0};
constexpr std::array<std::uint8_t, 9> kNewDisplay{0, 0, 0, 0, 1, 0, 0, 0, 0};
constexpr std::array<std::uint8_t, 9> kMouse{2, 0, 0, 0, 1, 0, 0, 0, 0};
constexpr std::array<std::uint8_t, 9> kKeyboard{1, 0, 0, 0, 1, 0, 0, 0, 0};

struct Row {
  ChannelKind kind;
  std::span<const std::uint8_t> opening;
};

}  // namespace

ChannelOpening ChannelOpening::judge(std::span<const std::uint8_t> bytes, bool newProtocol) {
  const std::array<Row, 3> rows{
      Row{ChannelKind::display, newProtocol ? std::span<const std::uint8_t>{kNewDisplay}
                                            : std::span<const std::uint8_t>{kOldDisplay}},
      Row{ChannelKind::mouse, kMouse},
      Row{ChannelKind::keyboard, kKeyboard},
  };
  // Short of the kind's four bytes nothing can be told but that no opening is shorter.
  constexpr std::size_t kShortest = 4;
  for (const Row& row : rows) {
    const std::size_t compared = std::min(bytes.size(), row.opening.size());
    if (!std::ranges::equal(bytes.first(compared), row.opening.first(compared))) continue;
    if (bytes.size() < kShortest) return {Verdict::incomplete, row.kind, kShortest - bytes.size()};
    if (bytes.size() < row.opening.size()) {
      return {Verdict::incomplete, row.kind, row.opening.size() - bytes.size()};
    }
    return {Verdict::accepted, row.kind, 0};
  }
  return {Verdict::refused, ChannelKind::display, 0};
}

}  // namespace tessel::hub
