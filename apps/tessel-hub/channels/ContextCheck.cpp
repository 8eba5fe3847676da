#include "apps/tessel-hub/channels/ContextCheck.h"

#include <algorithm>

namespace tessel::hub {
namespace {

bool isServed(std::uint32_t side) { return side > 0 && side <= kMaxPictureSide; }

}  // namespace

std::optional<ContextRequest> servedRequest(std::span<const std::uint8_t> message,
                                            std::string& problem) {
  const auto parsed = ContextRequest::parse(message);
  if (!parsed) {
    problem = "the context request is " + std::to_string(message.size()) + " bytes long, not " +
              std::to_string(ContextRequest::kSize);
    return std::nullopt;
  }
  if (!isServed(parsed->width) || !isServed(parsed->height)) {
    problem = "the context request asks for a picture of " + std::to_string(parsed->width) +
              " by " + std::to_string(parsed->height);
    return std::nullopt;
  }
  // Apart from the size there is one request only.
  const ContextRequest request{parsed->width, parsed->height};
  const H264ContextRequestMsg expected = request.bytes();
  const auto [found, wanted] = std::ranges::mismatch(message, expected);
  if (found == message.end()) return request;
  problem = "the context request has " + std::to_string(*found) + " instead of " +
            std::to_string(*wanted) + " at byte " + std::to_string(wanted - expected.begin());
  return std::nullopt;
}

}  // namespace tessel::hub
