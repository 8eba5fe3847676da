#include "apps/tessel-hub/channels/ChannelOpening.h"

#include <algorithm>
#include <array>

namespace tessel::hub {
namespace {

struct Row {
  ChannelKind kind;
  std::span<const std::uint8_t> opening;
};

}  // namespace

ChannelOpening ChannelOpening::judge(std::span<const std::uint8_t> bytes, bool newProtocol) {
  const std::array rows{
      newProtocol ? Row{ChannelKind::kDisplay, kNewStartCommand}
                  : Row{ChannelKind::kDisplay, kOldStartCommand},
      Row{ChannelKind::kMouse, kMouseOpening},
      Row{ChannelKind::kKeyboard, kKeyboardOpening},
  };
  // No opening is shorter: so many bytes can be read before the channel is known.
  constexpr std::size_t kMinLength = kOldStartCommand.size();
  for (const Row& row : rows) {
    const std::size_t compared = std::min(bytes.size(), row.opening.size());
    if (!std::ranges::equal(bytes.first(compared), row.opening.first(compared))) continue;
    if (bytes.size() < kMinLength) {
      return {Verdict::kIncomplete, row.kind, kMinLength - bytes.size()};
    }
    if (bytes.size() < row.opening.size()) {
      return {Verdict::kIncomplete, row.kind, row.opening.size() - bytes.size()};
    }
    return {Verdict::kAccepted, row.kind, 0};
  }
  return {Verdict::kRefused, ChannelKind::kDisplay, 0};
}

}  // namespace tessel::hub
