#include "apps/tessel-hub/channels/ContextRequest.h"

#include "platform/base/ByteOrder.h"
#include "tessel/DisplayMessages.h"

namespace tessel::hub {
namespace {

constexpr std::size_t kWidthAt = 192;
constexpr std::size_t kHeightAt = 196;
constexpr std::uint32_t kBitsPerPixel = 12;

}  // namespace

std::optional<ContextRequest> ContextRequest::parse(std::span<const std::uint8_t> message,
                                                    std::string& problem) {
  if (message.size() != kSize) {
    problem = "the context request is " + std::to_string(message.size()) + " bytes long, not 228";
    return std::nullopt;
  }
  const std::span<const std::uint8_t, kSize> fields{message.first<kSize>()};
  const ContextRequest request{
      platform::getLittleEndian<kWidthAt, std::uint32_t>(fields),
      platform::getLittleEndian<kHeightAt, std::uint32_t>(fields),
  };
  if (request.width == 0 || request.height == 0 || request.width > kLargestSide ||
      request.height > kLargestSide) {
    problem = "the context request asks for a picture of " + std::to_string(request.width) +
              " by " + std::to_string(request.height);
    return std::nullopt;
  }
  // Apart from the size there is one request only.
  H264ContextRequestMsg expected{};
  DefaultH264ContextRequestMsg(expected);
  SetH264ContextRequestMsgResolution(expected, request.width, request.height, kBitsPerPixel);
  for (std::size_t at = 0; at < kSize; ++at) {
    if (message[at] == expected.at(at)) continue;
    problem = "the context request has " + std::to_string(message[at]) + " instead of " +
              std::to_string(expected.at(at)) + " at byte " + std::to_string(at);
    return std::nullopt;
  }
  return request;
}

}  // namespace tessel::hub
