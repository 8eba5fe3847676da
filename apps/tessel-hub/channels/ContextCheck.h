#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "wire/ContextRequest.h"

namespace tessel::hub {

/// The largest width and the largest height of a picture that this hub serves.
inline constexpr std::uint32_t kMaxPictureSide = 8192;

/// The request that `message` is. None, and the reason in `problem`, if it is not a request that
/// this hub serves.
std::optional<ContextRequest> servedRequest(std::span<const std::uint8_t> message,
                                            std::string& problem);

}  // namespace tessel::hub
