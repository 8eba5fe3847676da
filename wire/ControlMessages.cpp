#include "wire/ControlMessages.h"

#include <algorithm>
#include <span>

#include "platform/base/ByteOrder.h"
#include "wire/MessageHeader.h"

namespace tessel {
namespace {

template <typename Message>
Message headed(std::uint8_t command) {
  Message message{};
  std::ranges::copy(MessageHeader{sizeof(Message), command}.bytes(), message.begin());
  return message;
}

}  // namespace

DestroyContextMsg contextMessage(std::uint8_t command) {
  return headed<DestroyContextMsg>(command);
}

SimpleControlMsg controlMessage(std::uint8_t command) {
  auto message = headed<SimpleControlMsg>(command);
  const std::span record{message};
  platform::putLittleEndian<12>(record, std::uint16_t{12});
  platform::putLittleEndian<14>(record, std::uint16_t{1});
  platform::putLittleEndian<16>(record, 8U);
  return message;
}

}  // namespace tessel
