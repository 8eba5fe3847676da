#include "platform/libav/EncoderChoice.h"

#include <algorithm>
#include <libyuv.h>
#include <utility>
#include <variant>

#include "platform/libav/LibavSilence.h"
#include "platform/media/NalUnits.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/posix/HostSignals.h"

extern "C" {
#include <libavutil/error.h>
}

namespace tessel::platform {
namespace {

constexpr int kTrialFrames = 3;

// A driver may open and then fail, or hold frames back: each trial frame has to come out before the
// next is handed in.
Status tryOut(H264Encoder& encoder, const EncoderSettings& settings) {
  PixelBufferPool pool{settings.width, settings.height};
  const PooledPicture grey = pool.take();
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int rows = plane == 0 ? settings.height : settings.height / 2;
    libyuv::SetPlane(grey.picture.planes[plane], grey.picture.strides[plane],
                     grey.picture.strides[plane], rows, 128);
  }
  const auto hasPicture = [](const EncoderPacket& packet) {
    return std::ranges::any_of(splitAnnexB(packet.stream), isSlice);
  };
  Status status = 0;
  for (int frame = 0; status == 0 && frame < kTrialFrames; ++frame) {
    status = encoder.encode(grey.buffer, frame, hasPicture);
  }
  return status;
}

}  // namespace

EncoderChoice::EncoderChoice(std::span<const EncoderCandidate> candidates, EncoderOpener open)
    : candidates_{candidates}, open_{std::move(open)} {}

StatusOr<std::unique_ptr<H264Encoder>> EncoderChoice::openBest(
    const EncoderSettings& settings) const {
  return openFirst(settings, [](const EncoderCandidate&) { return true; });
}

StatusOr<std::unique_ptr<H264Encoder>> EncoderChoice::openReplacement(
    const EncoderSettings& settings, const EncoderCandidate* retried) const {
  return openFirst(settings, [retried](const EncoderCandidate& candidate) {
    return !candidate.hardware || &candidate == retried;
  });
}

StatusOr<std::unique_ptr<H264Encoder>> EncoderChoice::openFirst(
    const EncoderSettings& settings,
    const std::function<bool(const EncoderCandidate&)>& eligible) const {
  const HostSignalsBlocked inherited;  // by the threads that an encoder may start
  const LibavSilence silence;
  Status failure = AVERROR_ENCODER_NOT_FOUND;  // the first that is more than an absence
  for (const EncoderCandidate& candidate : candidates_) {
    if (!eligible(candidate) || !hasDevice(candidate)) continue;
    auto opened = openWorking(candidate, settings);
    const auto* status = std::get_if<Status>(&opened);
    if (status == nullptr) return opened;
    if (failure == AVERROR_ENCODER_NOT_FOUND) failure = *status;
  }
  return failure;
}

StatusOr<std::unique_ptr<H264Encoder>> EncoderChoice::openWorking(
    const EncoderCandidate& candidate, const EncoderSettings& settings) const {
  auto opened = open_(candidate, settings);
  auto* encoder = std::get_if<std::unique_ptr<H264Encoder>>(&opened);
  if (encoder == nullptr || !candidate.hardware) return opened;
  if (const Status status = tryOut(**encoder, settings); status != 0) return status;
  // Opened afresh, so that the stream begins with a key frame. The trial's goes first: some
  // hardware has room for one.
  encoder->reset();
  return open_(candidate, settings);
}

}  // namespace tessel::platform
