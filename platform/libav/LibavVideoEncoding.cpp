#include "platform/libav/LibavVideoEncoding.h"

#include <utility>

#include "platform/libav/LibavCompressionSession.h"

extern "C" {
#include <libavutil/error.h>
}

namespace tessel::platform {
namespace {

constexpr std::int32_t kLargest = 16384;

}  // namespace

StatusOr<std::shared_ptr<CompressionSession>> LibavVideoEncoding::makeCompressionSession(
    std::int32_t width, std::int32_t height, CompressionOutputCallback callback) {
  if (width < 2 || height < 2 || width > kLargest || height > kLargest) {
    return Status{AVERROR(EINVAL)};
  }
  return std::make_shared<LibavCompressionSession>(width, height, std::move(callback), clock_);
}

std::string LibavVideoEncoding::describe(Status status) const {
  return LibavEncoder::describe(status);
}

}  // namespace tessel::platform
