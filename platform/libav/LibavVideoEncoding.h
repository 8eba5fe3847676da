#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/Clock.h"
#include "platform/VideoEncoder.h"

namespace tessel::platform {

/// Encoders of libavcodec. Any thread.
class LibavVideoEncoding final : public VideoEncoding {
 public:
  explicit LibavVideoEncoding(std::shared_ptr<Clock> clock) : clock_{std::move(clock)} {}

  StatusOr<std::shared_ptr<CompressionSession>> makeCompressionSession(
      std::int32_t width, std::int32_t height, CompressionOutputCallback callback) override;
  std::string describe(Status status) const override;
  /// Opens the encoder that a cast would get.
  Finding finding() const override;

 private:
  const std::shared_ptr<Clock> clock_;
};

}  // namespace tessel::platform
