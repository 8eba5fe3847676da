#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/ScreenCapture.h"
#include "platform/VideoEncoder.h"
#include "platform/libav/EncoderCandidates.h"
#include "platform/libav/H264Encoder.h"
#include "platform/libav/LibavHandles.h"

namespace tessel::platform {

/// An encoder of libavcodec. One thread at a time.
class LibavEncoder final : public H264Encoder {
 public:
  /// `candidate` must outlive the encoder.
  static StatusOr<std::unique_ptr<H264Encoder>> open(const EncoderCandidate& candidate,
                                                     const EncoderSettings& settings);

  /// A sentence that explains a status.
  static std::string describe(Status status);

  const EncoderCandidate& candidate() const override { return candidate_; }
  std::span<const std::uint8_t> extradata() const override;
  bool holdsQuantiser() const override;
  Status setCoarseness(int steps) override;
  Status send(const std::shared_ptr<const PixelBuffer>& picture, std::int64_t timestamp) override;
  std::optional<EncoderPacket> receive(Status& status) override;

 private:
  LibavEncoder(const EncoderCandidate& candidate, const EncoderSettings& settings)
      : candidate_{candidate}, settings_{settings} {}

  Status configure(int coarseness);
  void describePictures(AVCodecContext& context) const;
  Status prepareDevice();
  Frame makeFrame() const;
  Frame wrap(const std::shared_ptr<const PixelBuffer>& picture) const;
  Frame convert(const PixelBuffer& picture) const;
  Frame upload(const AVFrame& picture) const;

  const EncoderCandidate& candidate_;
  const EncoderSettings settings_;
  std::optional<int> coarseness_;  // none if it could not be opened
  CodecContext context_;
  BufferReference frames_;  // pictures in the hardware's memory, if it encodes from there
  Packet packet_;
};

}  // namespace tessel::platform
