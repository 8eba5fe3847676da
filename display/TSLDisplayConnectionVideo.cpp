#include <cinttypes>

#include "display/AnnexB.h"
#include "display/FrameSender.h"
#include "display/PictureSize.h"
#include "display/TSLDisplayConnection.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/base/ErrorText.h"

// A frame's road: captured, encoded, converted, sent.
namespace tessel {
namespace {

using platform::CaptureRefusal;
using platform::Status;

constexpr const char* kCaptureSetup = "-[TSLDisplayConnection screenCaptureSessionWithSize:error:]";
constexpr const char* kEncoderSetup = "-[TSLDisplayConnection compressionSessionWithSize:error:]";
constexpr const char* kOutput =
    "-[TSLDisplayConnection captureOutput:didOutputSampleBuffer:fromConnection:]";
constexpr const char* kDrop =
    "-[TSLDisplayConnection captureOutput:didDropSampleBuffer:fromConnection:]";
constexpr const char* kCompressed =
    "-[TSLDisplayConnection compressionOutputCompletedWithStatus:infoFlags:sampleBuffer:]";

constexpr int kFramesPerSecond = 30;
constexpr platform::CompressionSettings kCompression{
    .allowFrameReordering = false, .realTime = true, .expectedFrameRate = kFramesPerSecond};

// Status of encoding without an encoder: an invalid session.
constexpr Status kNoEncoder = -12903;

// A hub could acknowledge without end and never read. No frame is encoded while more than this
// waits for the network; the credits keep an honest hub far below.
constexpr std::size_t kMostUnsentBytes = std::size_t{32} << 20U;

// Number of the next frame of any display channel. Channels side by side share it.
std::atomic<std::int64_t> frameCounter{1};

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

const char* yesNo(bool value) { return value ? "YES" : "NO"; }

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
                yesNo(std::get<bool>(hardware)));
}

}  // namespace

std::shared_ptr<platform::CaptureSession> TSLDisplayConnection::screenCaptureSessionWithSize(
    Size size, std::optional<Error>& error) {
  const auto desktop = platform::services().desktops->current();
  const auto screens = desktop->screens();
  if (screens.empty()) return refused(CaptureRefusal::kInput, error);
  if (PictureSize::from(size).empty()) return refused(CaptureRefusal::kOutput, error);
  const platform::CaptureInput input{
      screens.front().tsl_screenNumber(),
      platform::Clock::Duration{std::chrono::seconds{1}} / kFramesPerSecond};
  const auto made = desktop->makeCaptureSession(input, platform::CaptureOutput{size},
                                                weak_from_this(), sampleBufferDispatchQueue_);
  if (const auto* refusal = std::get_if<CaptureRefusal>(&made)) return refused(*refusal, error);
  return std::get<std::shared_ptr<platform::CaptureSession>>(made);
}

std::shared_ptr<platform::CompressionSession> TSLDisplayConnection::compressionSessionWithSize(
    Size size, std::optional<Error>& error) {
  const auto picture = PictureSize::from(size);
  const auto made = platform::services().videoEncoding->makeCompressionSession(
      picture.width, picture.height, kCompression,
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

bool TSLDisplayConnection::mayEncode() {
  const auto connection = HubConnection();
  if (connection && connection->unsentBytes() > kMostUnsentBytes) return false;
  return credits_.take();
}

// The credit taken here comes back only with the hub's acknowledgement: a frame that is lost on its
// way out costs it for good.
void TSLDisplayConnection::didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) {
  statistics_.captured();
  if (!mayEncode()) {
    statistics_.dropped();
    return;
  }
  const std::int64_t frame = frameCounter++;
  if (!sampleBuffer.imageBuffer) {
    platform::log("%s: unable to get CVPixelBufferRef for frame %" PRId64, kOutput, frame);
    return;
  }
  const auto encoder = compressionSession();
  const platform::PresentationTime time{frame, kFramesPerSecond};
  statistics_.encodingStarted(platform::services().clock->uptime());
  const Status status = encoder ? encoder->encodeFrame(sampleBuffer.imageBuffer, time) : kNoEncoder;
  if (status != 0) {
    statistics_.encodingRefused();
    platform::log("%s: error encoding frame %" PRId64 ". status: %d", kOutput, frame, status);
  }
}

void TSLDisplayConnection::didDropSampleBuffer(const platform::SampleBuffer&) {
  statistics_.dropped();
  platform::log("%s", kDrop);
}

void TSLDisplayConnection::compressionOutputCompletedWithStatus(
    Status status, std::uint32_t infoFlags, const platform::EncodedSampleBuffer* sampleBuffer) {
  const bool complete = status == 0 && sampleBuffer != nullptr;
  statistics_.encodingFinished(platform::services().clock->uptime(), complete);
  if (status != 0) {
    platform::log("%s: Compression failed. status: %d, frame dropped: %s", kCompressed, status,
                  yesNo((infoFlags & platform::kInfoFrameDropped) != 0));
    return;
  }
  if (sampleBuffer == nullptr) {
    platform::log("%s: Successful status but NULL sampleBuffer!", kCompressed);
    return;
  }
  const Bytes* stream = elementaryStreamFromSampleBuffer(*sampleBuffer);
  if (stream != nullptr && connected_) sendSampleBuffer(stream->data(), stream->size());
}

const Bytes* TSLDisplayConnection::elementaryStreamFromSampleBuffer(
    const platform::EncodedSampleBuffer& sampleBuffer) {
  return convertToAnnexB(sampleBuffer, elementaryStream_) ? &elementaryStream_ : nullptr;
}

void TSLDisplayConnection::sendSampleBuffer(const void* bytes, std::size_t length) {
  sendFrame(*this, bytes, length);
}

}  // namespace tessel
