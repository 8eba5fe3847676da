#pragma once

#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/VideoEncoder.h"
#include "platform/libav/EncoderChoice.h"

namespace tessel::platform {

/// Encoders of libavcodec, in real time and without reordering only. Any thread.
class LibavVideoEncoding final : public VideoEncoding {
 public:
  /// Chooses among the encoders of this machine.
  explicit LibavVideoEncoding(std::shared_ptr<Clock> clock);
  LibavVideoEncoding(std::shared_ptr<Clock> clock, EncoderChoice choice);

  /// Opens the encoder at once.
  StatusOr<std::shared_ptr<CompressionSession>> makeCompressionSession(
      std::int32_t width, std::int32_t height, const CompressionSettings& settings,
      CompressionOutputCallback callback) override;
  std::string describe(Status status) const override;
  /// Opens the encoder that a cast would get.
  Finding finding() const override;

 private:
  const std::shared_ptr<Clock> clock_;
  const EncoderChoice choice_;
};

}  // namespace tessel::platform
