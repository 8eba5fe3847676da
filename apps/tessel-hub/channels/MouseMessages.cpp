#include "apps/tessel-hub/channels/MouseMessages.h"

#include <algorithm>

#include "wire/ChannelCommand.h"
#include "wire/MousePacket.h"

namespace tessel::hub {

bool MouseMessages::feed(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [this](std::uint8_t byte) { return takeByte(byte); });
}

bool MouseMessages::takeByte(std::uint8_t byte) {
  message_.push_back(byte);
  return message_.front() == MousePacket::kSize ? takeReport() : takeCommand();
}

bool MouseMessages::takeReport() {
  if (message_.size() == 2 && message_.back() != MousePacket::kPacketType) return false;
  if (const auto packet = MousePacket::parse(message_)) {
    sink_.onCursor(packet->x, packet->y);
    message_.clear();
  }
  return true;
}

bool MouseMessages::takeCommand() {
  if (message_.size() < kCursorCommand.size()) {
    // Both commands are the same but for their last two bytes.
    const std::size_t common = std::min(message_.size(), kCursorCommand.size() - 2);
    return std::ranges::equal(std::span{message_}.first(common),
                              std::span{kCursorCommand}.first(common));
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
