#include "tests/support/FakeVideo.h"

#include <utility>

namespace tessel::test {

using platform::Status;
using platform::StatusOr;

void FakeCaptureSession::deliver(const platform::SampleBuffer& sampleBuffer) {
  if (!running) return;
  queue_->async([delegate = delegate_, sampleBuffer] {
    if (const auto strong = delegate.lock()) strong->didOutputSampleBuffer(sampleBuffer);
  });
}

std::shared_ptr<const platform::PixelBuffer> FakeCaptureSession::deliverPicture() {
  const int width = static_cast<int>(output.size.width);
  const int height = static_cast<int>(output.size.height);
  const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const auto storage = std::make_shared<Bytes>(2 * luma);
  auto picture = std::make_shared<platform::PixelBuffer>();
  picture->width = width;
  picture->height = height;
  picture->planes = {storage->data(), storage->data() + luma, storage->data() + luma};
  picture->strides = {width, (width + 1) / 2, (width + 1) / 2};
  picture->storage = storage;
  deliver({picture, {}});
  return picture;
}

void FakeCaptureSession::drop() {
  queue_->async([delegate = delegate_] {
    if (const auto strong = delegate.lock()) strong->didDropSampleBuffer({});
  });
}

void FakeCaptureSession::startRunning() {
  running = true;
  ++starts;
}

void FakeCaptureSession::stopRunning() {
  running = false;
  ++stops;
  if (onStop) onStop();
}

StatusOr<std::span<const std::uint8_t>> FakeFormatDescription::parameterSet(
    std::size_t index) const {
  const auto& set = sets.at(index);
  if (const auto* status = std::get_if<Status>(&set)) return *status;
  return std::span<const std::uint8_t>{std::get<Bytes>(set)};
}

StatusOr<std::span<const platform::NalUnit>> FakeEncodedSampleBuffer::nalUnits() const {
  if (const auto* status = std::get_if<Status>(&units)) return *status;
  const auto& bytes = std::get<std::vector<Bytes>>(units);
  views_.assign(bytes.begin(), bytes.end());
  return std::span<const platform::NalUnit>{views_};
}

FakeCompressionSession::FakeCompressionSession(std::int32_t pictureWidth,
                                               std::int32_t pictureHeight,
                                               const platform::CompressionSettings& asked,
                                               platform::CompressionOutputCallback callback,
                                               std::shared_ptr<platform::SerialQueue> queue)
    : width{pictureWidth},
      height{pictureHeight},
      settings{asked},
      callback_{std::make_shared<platform::CompressionOutputCallback>(std::move(callback))},
      queue_{std::move(queue)} {}

void FakeCompressionSession::output(Status status, std::uint32_t infoFlags,
                                    std::shared_ptr<const FakeEncodedSampleBuffer> sampleBuffer) {
  queue_->async([callback = callback_, status, infoFlags, sampleBuffer = std::move(sampleBuffer)] {
    (*callback)(status, infoFlags, sampleBuffer.get());
  });
}

StatusOr<bool> FakeCompressionSession::usingHardwareAcceleratedVideoEncoder() const {
  calls.emplace_back("UsingHardware");
  return hardware;
}

Status FakeCompressionSession::prepareToEncodeFrames() {
  calls.emplace_back("Prepare");
  return prepareStatus;
}

Status FakeCompressionSession::encodeFrame(
    const std::shared_ptr<const platform::PixelBuffer>& imageBuffer,
    platform::PresentationTime presentationTime) {
  pictures.push_back(imageBuffer);
  frames.push_back(presentationTime);
  if (encodeStatus == 0 && automaticOutput) {
    auto frame = std::make_shared<FakeEncodedSampleBuffer>();
    frame->notSyncValue = true;
    frame->units = std::vector<Bytes>{Bytes{0x41}};
    output(0, 0, std::move(frame));
  }
  return encodeStatus;
}

void FakeCompressionSession::invalidate() {
  ++invalidations;
  if (onInvalidate) onInvalidate();
}

std::shared_ptr<FakeCompressionSession> FakeVideoEncoding::last() const {
  return sessions.empty() ? nullptr : sessions.back();
}

StatusOr<std::shared_ptr<platform::CompressionSession>> FakeVideoEncoding::makeCompressionSession(
    std::int32_t width, std::int32_t height, const platform::CompressionSettings& settings,
    platform::CompressionOutputCallback callback) {
  if (createStatus != 0) return createStatus;
  auto session = std::make_shared<FakeCompressionSession>(
      width, height, settings, std::move(callback), queues_.makeSerialQueue("encoder callback"));
  sessions.push_back(session);
  if (onCreate) onCreate(*session);
  return std::shared_ptr<platform::CompressionSession>{session};
}

std::string FakeVideoEncoding::describe(Status status) const {
  return "encoder status " + std::to_string(status);
}

}  // namespace tessel::test
