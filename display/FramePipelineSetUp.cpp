#include <variant>

#include "display/FramePipeline.h"
#include "display/PictureSize.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ErrorText.h"

// What a frame pipeline captures and encodes with.
namespace tessel {
namespace {

using platform::CaptureRefusal;
using platform::Status;

constexpr const char* kCaptureSetup = "-[TSLDisplayConnection screenCaptureSessionWithSize:error:]";
constexpr const char* kEncoderSetup = "-[TSLDisplayConnection compressionSessionWithSize:error:]";

std::shared_ptr<platform::CaptureSession> refused(CaptureRefusal refusal,
                                                  std::optional<Error>& error) {
  error = Error{platform::kCaptureErrorDomain, platform::kCaptureErrorUnknown, {}};
  platform::log(refusal == CaptureRefusal::kInput
                    ? "%s: Cannot add AVCaptureScreenInput to capture session!"
                    : "%s: Cannot add AVCaptureVideoDataOutput to capture session!",
                kCaptureSetup);
  return nullptr;
}

Error encoderError(Status status) {
  return {platform::kEncoderErrorDomain, status,
          platform::services().videoEncoding->describe(status)};
}

void logAcceleration(const platform::CompressionSession& encoder) {
  const auto hardware = encoder.usingHardwareAcceleratedVideoEncoder();
  if (const auto* status = std::get_if<Status>(&hardware)) {
    platform::log(
        "%s: VTSessionCopyProperty(kVTCompressionPropertyKey_UsingHardwareAcceleratedVideoEncoder) "
        "failed. error: %s",
        kEncoderSetup, platform::describe(encoderError(*status)).c_str());
    return;
  }
  platform::log("%s: Compression session using hardware acceleration: %s", kEncoderSetup,
                std::get<bool>(hardware) ? "YES" : "NO");
}

}  // namespace

bool FramePipeline::setUp(Size size, std::optional<Error>& error) {
  const auto capture = makeCapture(size, error);
  capture_.set(capture);
  if (!capture) return false;
  const auto encoder = makeEncoder(size, error);
  encoder_.set(encoder);
  return encoder != nullptr;
}

std::shared_ptr<platform::CaptureSession> FramePipeline::makeCapture(Size size,
                                                                     std::optional<Error>& error) {
  const auto desktop = platform::services().desktops->current();
  const auto screens = desktop->screens();
  if (screens.empty()) return refused(CaptureRefusal::kInput, error);
  if (PictureSize::from(size).empty()) return refused(CaptureRefusal::kOutput, error);
  const platform::CaptureInput input{screens.front().tsl_screenNumber(), kFrameInterval};
  const auto made =
      desktop->makeCaptureSession(input, platform::CaptureOutput{size}, weak_from_this(), queue_);
  if (const auto* refusal = std::get_if<CaptureRefusal>(&made)) return refused(*refusal, error);
  return std::get<std::shared_ptr<platform::CaptureSession>>(made);
}

std::shared_ptr<platform::CompressionSession> FramePipeline::makeEncoder(
    Size size, std::optional<Error>& error) {
  const auto picture = PictureSize::from(size);
  const platform::CompressionSettings settings{
      .allowFrameReordering = false, .realTime = true, .expectedFrameRate = kFramesPerSecond};
  const auto made = platform::services().videoEncoding->makeCompressionSession(
      picture.width, picture.height, settings,
      [weak = weak_from_this()](Status status, std::uint32_t infoFlags,
                                const platform::EncodedSampleBuffer* sampleBuffer) {
        if (const auto self = weak.lock()) {
          self->compressionOutputCompletedWithStatus(status, infoFlags, sampleBuffer);
        }
      });
  if (const auto* status = std::get_if<Status>(&made)) {
    error = encoderError(*status);
    platform::log("%s: Failed to create compression session. error: %s", kEncoderSetup,
                  platform::describe(*error).c_str());
    return nullptr;
  }
  auto encoder = std::get<std::shared_ptr<platform::CompressionSession>>(made);
  logAcceleration(*encoder);
  if (const Status status = encoder->prepareToEncodeFrames(); status != 0) {
    error = encoderError(status);
    platform::log("%s: Failed to prepare compression session. error: %s", kEncoderSetup,
                  platform::describe(*error).c_str());
    encoder->invalidate();
    return nullptr;
  }
  return encoder;
}

}  // namespace tessel
