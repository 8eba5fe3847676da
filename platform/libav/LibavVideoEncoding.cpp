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

constexpr std::int32_t kMaxSide = 16384;

}  // namespace

LibavVideoEncoding::LibavVideoEncoding(std::shared_ptr<Clock> clock)
    : LibavVideoEncoding{std::move(clock), EncoderChoice{encoderCandidates(), LibavEncoder::open}} {
}

LibavVideoEncoding::LibavVideoEncoding(std::shared_ptr<Clock> clock, EncoderChoice choice)
    : clock_{std::move(clock)}, choice_{std::move(choice)} {}

StatusOr<std::shared_ptr<CompressionSession>> LibavVideoEncoding::makeCompressionSession(
    std::int32_t width, std::int32_t height, const CompressionSettings& settings,
    CompressionOutputCallback callback) {
  if (width < 2 || height < 2 || width > kMaxSide || height > kMaxSide ||
      settings.expectedFrameRate <= 0) {
    return Status{AVERROR(EINVAL)};
  }
  if (settings.allowFrameReordering || !settings.realTime) return Status{AVERROR(ENOSYS)};
  // 4:2:0 has even sizes only.
  const EncoderSettings asked{width / 2 * 2, height / 2 * 2, settings.expectedFrameRate};
  auto opened = choice_.openBest(asked);
  if (const auto* status = std::get_if<Status>(&opened)) return *status;
  return std::make_shared<LibavCompressionSession>(
      width, height, asked, choice_, std::move(std::get<std::unique_ptr<H264Encoder>>(opened)),
      std::move(callback), clock_);
}

std::string LibavVideoEncoding::describe(Status status) const {
  return LibavEncoder::describe(status);
}

Finding LibavVideoEncoding::finding() const {
  Finding finding{"encoder", false, {}, {}};
  const auto opened = choice_.openBest({1920, 1080, 30});
  if (const auto* status = std::get_if<Status>(&opened)) {
    finding.sentence = *status == AVERROR_ENCODER_NOT_FOUND
                           ? "There is no H.264 encoder."
                           : "No H.264 encoder works: " + LibavEncoder::describe(*status);
    finding.advice = "Install libavcodec with libx264.";
    return finding;
  }
  const EncoderCandidate& candidate = std::get<std::unique_ptr<H264Encoder>>(opened)->candidate();
  finding.usable = true;
  finding.sentence = std::string{"H.264 with "} + candidate.name +
                     (candidate.hardware ? " (hardware)." : " (software).");
  return finding;
}

}  // namespace tessel::platform
