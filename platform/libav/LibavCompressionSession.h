#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Clock.h"
#include "platform/VideoEncoder.h"
#include "platform/libav/LibavEncoder.h"
#include "platform/media/RateGovernor.h"

namespace tessel::platform {

/// Encodes with libavcodec, on a thread of its own that also makes the callbacks. The encoder is
/// chosen and opened when it is first asked about or prepared.
class LibavCompressionSession final : public CompressionSession {
 public:
  LibavCompressionSession(std::int32_t width, std::int32_t height,
                          CompressionOutputCallback callback, std::shared_ptr<Clock> clock);
  ~LibavCompressionSession() override;

  void setAllowFrameReordering(bool allow) override;
  void setRealTime(bool realTime) override;
  void setExpectedFrameRate(int framesPerSecond) override;
  StatusOr<bool> usingHardwareAcceleratedVideoEncoder() const override;
  Status prepareToEncodeFrames() override;
  Status encodeFrame(const std::shared_ptr<const PixelBuffer>& imageBuffer,
                     PresentationTime presentationTime) override;
  void invalidate() override;

 private:
  struct Job {
    std::shared_ptr<const PixelBuffer> picture;
    PresentationTime time;
  };

  Status open() const;
  void run();
  void encode(const Job& job);
  Status govern();
  void output(const AVPacket& packet);

  const CompressionOutputCallback callback_;
  const std::shared_ptr<Clock> clock_;
  const std::int32_t width_;
  const std::int32_t height_;

  mutable std::mutex mutex_;  // guards what follows, but see encoder_
  EncoderSettings settings_;
  // Opened under the lock; the thread's own once that runs.
  mutable std::unique_ptr<LibavEncoder> encoder_;
  bool prepared_ = false;
  bool invalidated_ = false;
  std::deque<Job> jobs_;
  std::condition_variable changed_;

  std::mutex joining_;  // held by whoever ends the thread
  std::thread thread_;

  // The thread's own.
  class ParameterSets;
  std::shared_ptr<ParameterSets> parameterSets_;
  RateGovernor governor_;
  int coarseness_ = 0;
  std::int64_t lastTimestamp_;
};

}  // namespace tessel::platform
