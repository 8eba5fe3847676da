#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "platform/Clock.h"
#include "platform/VideoEncoder.h"
#include "platform/base/Mutex.h"
#include "platform/libav/EncoderChoice.h"
#include "platform/media/RateGovernor.h"

namespace tessel::platform {

/// Encodes on a thread of its own ("tessel-encoder"), which also makes the callbacks.
///
/// Hardware that fails during the cast is opened again once; after that, or if that fails, software
/// takes over. The new stream begins with its parameter sets and a key frame. The frame that failed
/// is reported as dropped.
class LibavCompressionSession final : public CompressionSession {
 public:
  /// Takes over `encoder`, which `choice` has opened with `settings`.
  LibavCompressionSession(std::int32_t width, std::int32_t height, const EncoderSettings& settings,
                          EncoderChoice choice, std::unique_ptr<H264Encoder> encoder,
                          CompressionOutputCallback callback, std::shared_ptr<Clock> clock);
  ~LibavCompressionSession() override;

  StatusOr<bool> usingHardwareAcceleratedVideoEncoder() const override { return hardware_.load(); }
  Status prepareToEncodeFrames() override;
  Status encodeFrame(const std::shared_ptr<const PixelBuffer>& imageBuffer,
                     PresentationTime presentationTime) override;
  void invalidate() override;

 private:
  struct Job {
    std::shared_ptr<const PixelBuffer> picture;
    PresentationTime time;
  };

  class ParameterSets final : public FormatDescription {
   public:
    /// Replaces the sets by those among `units`, unless there is none.
    void take(std::span<const NalUnit> units);
    StatusOr<std::size_t> parameterSetCount() const override { return sets_.size(); }
    StatusOr<std::span<const std::uint8_t>> parameterSet(std::size_t index) const override;

   private:
    std::vector<Bytes> sets_;
  };

  // On the encoder's thread, but the first before it starts.
  void use(std::unique_ptr<H264Encoder> encoder);
  void run();
  Status encode(const Job& job);
  Status replaceEncoder();
  void giveUpEncoder();
  Status govern();
  std::int64_t timestampOf(PresentationTime time);
  bool output(const EncoderPacket& packet);

  const std::int32_t width_;
  const std::int32_t height_;
  const EncoderSettings settings_;
  const EncoderChoice choice_;
  const CompressionOutputCallback callback_;
  const std::shared_ptr<Clock> clock_;
  std::atomic<bool> hardware_{false};

  Mutex joining_;  // held while the thread is joined; taken before mutex_
  Mutex mutex_;
  std::condition_variable changed_;
  bool invalidated_ TESSEL_GUARDED_BY(mutex_) = false;
  std::deque<Job> jobs_ TESSEL_GUARDED_BY(mutex_);
  std::thread thread_ TESSEL_GUARDED_BY(mutex_);

  // The thread's own while it runs.
  std::unique_ptr<H264Encoder> encoder_;       // null after a failure, until the next frame
  const EncoderCandidate* retried_ = nullptr;  // hardware to open again in its place
  bool hardwareRetried_ = false;
  ParameterSets parameterSets_;
  RateGovernor governor_;
  int coarseness_ = 0;
  std::int64_t lastTimestamp_;
};

}  // namespace tessel::platform
