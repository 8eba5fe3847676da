#include "platform/linux/LibavVideoEncoding.h"

#include <array>
#include <utility>

#include "platform/linux/LibavCompressionSession.h"

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
  return std::make_shared<LibavCompressionSession>(width, height, std::move(callback));
}

std::string LibavVideoEncoding::describe(Status status) const {
  switch (status) {
    case AVERROR_ENCODER_NOT_FOUND:
      return "There is no H.264 encoder: install libavcodec with libx264.";
    case AVERROR_EOF:
      return "The encoder has been ended.";
    default: {
      std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
      av_strerror(status, text.data(), text.size());
      return text.data();
    }
  }
}

}  // namespace tessel::platform
