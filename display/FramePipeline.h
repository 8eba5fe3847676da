#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "display/DisplayChannel.h"
#include "display/FrameCredits.h"
#include "display/FrameStatistics.h"
#include "display/PictureDelivery.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/VideoEncoder.h"
#include "platform/base/Synchronized.h"
#include "tessel/Error.h"
#include "tessel/TSLSessionStatistics.h"
#include "tessel/Types.h"

namespace tessel {

/// Frame pipeline: capture, encode, convert to Annex B, packetize, send.
///
/// A captured frame is dropped if it has no credit, if two frames are in the encoder, or if too
/// many bytes wait for the network. The newest picture stays owed then, and after a failure of the
/// encoder: it is encoded as soon as it can go out, changed or not.
///
/// Threads. Any thread may call it, except where noted.
///
///     the start's thread          set-up and start of capture and encoder
///     `queue()`                   captured frames, owed pictures, handing frames to the encoder
///     encoder's callback thread   conversion to Annex B, sending
///
/// Ownership. Held by the display connection. Holds the channel, the capture and the encoder; both
/// hold it weakly, as does every task on its queue. The last reference may go on any thread, once
/// `discardEncoder` has been called.
class FramePipeline final : public platform::CaptureOutputDelegate,
                            public std::enable_shared_from_this<FramePipeline> {
 public:
  explicit FramePipeline(std::shared_ptr<DisplayChannel> channel);

  /// A new start: gives it its credits and forgets earlier pictures.
  void begin();
  /// Makes capture and encoder for pictures of `size`, both not yet running.
  bool setUp(Size size, std::optional<Error>& error);
  /// Starts the capture, unless `stop` has come since `begin`.
  void start();
  /// Ends capture and encoder. Never from the encoder's callback.
  void stop();
  /// Lets the encoder go; it ends on the queue. From any thread, the encoder's included.
  void discardEncoder();

  /// The hub has acknowledged a frame.
  void acknowledged();

  /// A stopped capture of the first screen at `size`, 30 frames a second; null with `error` set.
  std::shared_ptr<platform::CaptureSession> makeCapture(Size size, std::optional<Error>& error);
  /// A prepared encoder for pictures of `size`; null with `error` set.
  std::shared_ptr<platform::CompressionSession> makeEncoder(Size size, std::optional<Error>& error);

  /// @name On the queue
  /// @{
  void didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) override;
  void didDropSampleBuffer(const platform::SampleBuffer& sampleBuffer) override;
  /// @}

  /// @name On the encoder's callback thread
  /// @{
  void compressionOutputCompletedWithStatus(platform::Status status, std::uint32_t infoFlags,
                                            const platform::EncodedSampleBuffer* sampleBuffer);
  /// The frame as Annex B, null if it cannot be converted. Lives until the next call.
  const Bytes* elementaryStreamFromSampleBuffer(const platform::EncodedSampleBuffer& sampleBuffer);
  /// Sends one frame in pieces.
  void sendSampleBuffer(const void* bytes, std::size_t length);
  /// @}

  std::shared_ptr<platform::SerialQueue> queue() const { return queue_; }
  std::shared_ptr<platform::CaptureSession> capture() const { return capture_.get(); }
  std::shared_ptr<platform::CompressionSession> encoder() const { return encoder_.get(); }
  /// Frames that may still be encoded before the hub answers.
  std::int64_t credits() const { return credits_.count(); }
  /// Counts of frames, with the credits; bytes are left 0.
  TSLSessionStatistics statistics() const;

 private:
  static constexpr int kFramesPerSecond = 30;
  static constexpr platform::Clock::Duration kFrameInterval =
      platform::Clock::Duration{std::chrono::seconds{1}} / kFramesPerSecond;

  bool takeSlot();
  void submit(const PictureDelivery::Picture& picture);
  void postOwed();
  void deliverOwed();
  void didLoseFrame();
  void rest(platform::Clock::Duration duration);
  bool handleOutput(platform::Status status, std::uint32_t infoFlags,
                    const platform::EncodedSampleBuffer* sampleBuffer);

  const std::shared_ptr<DisplayChannel> channel_;
  const std::shared_ptr<platform::SerialQueue> queue_;
  platform::Synchronized<std::shared_ptr<platform::CaptureSession>> capture_;
  platform::Synchronized<std::shared_ptr<platform::CompressionSession>> encoder_;

  FrameCredits credits_;
  FrameStatistics statistics_;
  PictureDelivery pictures_;
  std::atomic<bool> stopped_{false};
  std::atomic<int> failures_{0};  // frames lost one after another

  std::shared_ptr<platform::Timer> restTimer_;  // queue; set while owed pictures have to wait

  Bytes elementaryStream_;  // encoder's callback thread; reused, so that a frame allocates nothing
};

}  // namespace tessel
