#pragma once

#include "platform/VideoEncoder.h"

namespace tessel::platform {

/// Encoders of libavcodec. Any thread.
class LibavVideoEncoding final : public VideoEncoding {
 public:
  StatusOr<std::shared_ptr<CompressionSession>> makeCompressionSession(
      std::int32_t width, std::int32_t height, CompressionOutputCallback callback) override;
  std::string describe(Status status) const override;
};

}  // namespace tessel::platform
