#include "display/ReceivedHeader.h"

#include "display/DisplayCommands.h"
#include "platform/base/ByteOrder.h"

namespace tessel {

std::optional<ReceivedHeader> ReceivedHeader::parse(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kSize) return std::nullopt;
  const auto record = bytes.first<kSize>();
  return ReceivedHeader{platform::getLittleEndian<0, std::uint16_t>(record),
                        platform::getLittleEndian<2, std::uint8_t>(record)};
}

std::size_t ReceivedHeader::bodyLength() const { return length > kSize ? length - kSize : 0; }

const char* ReceivedHeader::skipName() const {
  switch (command) {
    case VSCH_CMD_CREATE_CONTEXT_RESPONSE:
      return "VSCH_CMD_CREATE_CONTEXT_RESPONSE";
    case VSCH_CMD_CONTROL_C2H:
      return "VSCH_CMD_CONTROL_C2H";
    default:
      return "unknown command";
  }
}

}  // namespace tessel
