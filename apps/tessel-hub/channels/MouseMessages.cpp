#include "apps/tessel-hub/channels/MouseMessages.h"

#include <algorithm>

#include "apps/tessel-hub/channels/InputRecords.h"

namespace tessel::hub {
namespace {

constexpr std::array<std::uint8_t, 10> kCursorCommand{2, 0, 0, 0, 2, 0, 0, 0, 1, 1};
constexpr std::array<std::uint8_t, 10> kCaptureCommand{2, 0, 0, 0, 2, 0, 0, 0, 3, 1};

}  // namespace

bool MouseMessages::feed(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [this](std::uint8_t byte) { return takeByte(byte); });
}

bool MouseMessages::takeByte(std::uint8_t byte) {
  message_.push_back(byte);
  if (message_.front() == sizeof(MouseRecord)) {
    if (message_.size() == 2 && byte != kMouseRecordType) return false;
    if (message_.size() < sizeof(MouseRecord)) return true;
    const std::span<const std::uint8_t, sizeof(MouseRecord)> record{message_.data(),
                                                                    sizeof(MouseRecord)};
    sink_.onCursor(platform::getLittleEndian<2, std::uint16_t>(record),
                   platform::getLittleEndian<4, std::uint16_t>(record));
    message_.clear();
    return true;
  }
  if (message_.size() < kCursorCommand.size()) {
    // All but the last two bytes are the same in both commands.
    const std::size_t common = std::min(message_.size(), kCursorCommand.size() - 2);
    return std::equal(message_.begin(), message_.begin() + static_cast<std::ptrdiff_t>(common),
                      kCursorCommand.begin());
  }
  if (std::ranges::equal(message_, kCursorCommand)) {
    sink_.onCursorCommand();
  } else if (std::ranges::equal(message_, kCaptureCommand)) {
    sink_.onCaptureCommand();
  } else {
    return false;
  }
  message_.clear();
  return true;
}

}  // namespace tessel::hub
