#include "platform/libav/LibavVideoEncoding.h"

#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "platform/libav/LibavCompressionSession.h"
#include "platform/libav/LibavEncoder.h"

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

Finding LibavVideoEncoding::finding() const {
  Finding finding{"encoder", false, {}, {}};
  EncoderSettings settings;
  settings.width = 1920;
  settings.height = 1080;
  const auto opened = LibavEncoder::openBest(settings);
  if (const Status* status = std::get_if<Status>(&opened)) {
    finding.sentence = *status == AVERROR_ENCODER_NOT_FOUND
                           ? "There is no H.264 encoder."
                           : "No H.264 encoder works: " + LibavEncoder::describe(*status);
    finding.advice = "Install libavcodec with libx264.";
    return finding;
  }
  const LibavEncoder& encoder = *std::get<std::unique_ptr<LibavEncoder>>(opened);
  finding.usable = true;
  finding.sentence = std::string{"H.264 with "} + encoder.name() +
                     (encoder.isHardware() ? " (hardware)." : " (software).");
  return finding;
}

}  // namespace tessel::platform
