#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/VideoEncoder.h"

namespace tessel::test {

/// A capture pipeline whose frames come from the test.
class FakeCaptureSession final : public platform::CaptureSession {
 public:
  FakeCaptureSession(const platform::CaptureInput& captured,
                     const platform::CaptureOutput& delivered,
                     std::weak_ptr<platform::CaptureOutputDelegate> delegate,
                     std::shared_ptr<platform::SerialQueue> queue)
      : input{captured},
        output{delivered},
        delegate_{std::move(delegate)},
        queue_{std::move(queue)} {}

  const platform::CaptureInput input;
  const platform::CaptureOutput output;
  bool running = false;
  int starts = 0;
  int stops = 0;
  std::function<void()> onStop;  ///< called in stopRunning()

  /// Hands a frame to the delegate on its queue; nothing happens while stopped.
  void deliver(const platform::SampleBuffer& sampleBuffer);
  /// Hands a black picture of the output's size to the delegate, and returns it.
  std::shared_ptr<const platform::PixelBuffer> deliverPicture();
  /// Tells the delegate of a frame that came too late.
  void drop();

  void startRunning() override;
  void stopRunning() override;

 private:
  const std::weak_ptr<platform::CaptureOutputDelegate> delegate_;
  const std::shared_ptr<platform::SerialQueue> queue_;
};

/// Parameter sets given by the test.
class FakeFormatDescription final : public platform::FormatDescription {
 public:
  platform::StatusOr<std::size_t> count = std::size_t{0};
  std::vector<platform::StatusOr<Bytes>> sets;

  platform::StatusOr<std::size_t> parameterSetCount() const override { return count; }
  platform::StatusOr<std::span<const std::uint8_t>> parameterSet(std::size_t index) const override;
};

/// An encoded frame given by the test.
class FakeEncodedSampleBuffer final : public platform::EncodedSampleBuffer {
 public:
  std::optional<bool> notSyncValue;
  std::optional<FakeFormatDescription> format;
  platform::StatusOr<std::vector<Bytes>> units = std::vector<Bytes>{};

  std::optional<bool> notSync() const override { return notSyncValue; }
  const platform::FormatDescription* formatDescription() const override {
    return format ? &*format : nullptr;
  }
  platform::StatusOr<std::span<const platform::NalUnit>> nalUnits() const override;

 private:
  mutable std::vector<platform::NalUnit> views_;  // of `units`
};

/// An encoder that records its calls. By default every frame comes out as one NAL unit of one byte,
/// on the encoder's own queue.
class FakeCompressionSession final : public platform::CompressionSession {
 public:
  FakeCompressionSession(std::int32_t width, std::int32_t height,
                         const platform::CompressionSettings& settings,
                         platform::CompressionOutputCallback callback,
                         std::shared_ptr<platform::SerialQueue> queue);

  const std::int32_t width;
  const std::int32_t height;
  const platform::CompressionSettings settings;
  mutable std::vector<std::string> calls;  ///< "UsingHardware", "Prepare", in order
  platform::StatusOr<bool> hardware = true;
  platform::Status prepareStatus = 0;
  platform::Status encodeStatus = 0;
  bool automaticOutput = true;
  std::vector<platform::PresentationTime> frames;
  std::vector<std::shared_ptr<const platform::PixelBuffer>> pictures;  ///< of the frames
  int invalidations = 0;
  std::function<void()> onInvalidate;  ///< called in invalidate()

  /// Calls the output callback on the encoder's queue.
  void output(platform::Status status, std::uint32_t infoFlags,
              std::shared_ptr<const FakeEncodedSampleBuffer> sampleBuffer);

  platform::StatusOr<bool> usingHardwareAcceleratedVideoEncoder() const override;
  platform::Status prepareToEncodeFrames() override;
  platform::Status encodeFrame(const std::shared_ptr<const platform::PixelBuffer>& imageBuffer,
                               platform::PresentationTime presentationTime) override;
  void invalidate() override;

 private:
  // Shared with callbacks under way, which may outlive the session.
  const std::shared_ptr<platform::CompressionOutputCallback> callback_;
  const std::shared_ptr<platform::SerialQueue> queue_;
};

class FakeVideoEncoding final : public platform::VideoEncoding {
 public:
  explicit FakeVideoEncoding(platform::Queues& queues) : queues_{queues} {}

  platform::Status createStatus = 0;
  Finding found{"encoder", true, "An encoder.", {}};
  std::vector<std::shared_ptr<FakeCompressionSession>> sessions;
  /// Called for every encoder made, to script it.
  std::function<void(FakeCompressionSession&)> onCreate;

  std::shared_ptr<FakeCompressionSession> last() const;
  platform::StatusOr<std::shared_ptr<platform::CompressionSession>> makeCompressionSession(
      std::int32_t width, std::int32_t height, const platform::CompressionSettings& settings,
      platform::CompressionOutputCallback callback) override;
  std::string describe(platform::Status status) const override;
  Finding finding() const override { return found; }

 private:
  platform::Queues& queues_;
};

}  // namespace tessel::test
