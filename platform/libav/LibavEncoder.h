#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/ScreenCapture.h"
#include "platform/VideoEncoder.h"
#include "platform/libav/LibavHandles.h"

namespace tessel::platform {

struct EncoderCandidate;

/// What is asked of an encoder.
struct EncoderSettings {
  int width = 0;   ///< even
  int height = 0;  ///< even
  int framesPerSecond = 30;
  bool allowsReordering = false;
};

/// One opened H.264 encoder. One thread at a time.
class LibavEncoder {
 public:
  /// The first encoder that works here: hardware, then software.
  static StatusOr<std::unique_ptr<LibavEncoder>> openBest(const EncoderSettings& settings);

  const char* name() const { return context_->codec->name; }
  bool isHardware() const;
  std::int64_t framesPerSecond() const { return settings_.framesPerSecond; }

  /// The parameter sets as Annex B; empty when the encoder sends them within the stream.
  std::span<const std::uint8_t> extradata() const;

  /// What a status says, in words.
  static std::string describe(Status status);

  /// Whether frames are as sharp as is asked for; other encoders keep to a bit rate by themselves.
  bool holdsQuantiser() const;

  /// How much coarser than meant the next frames are to be; see RateGovernor. A change begins the
  /// stream anew, with other parameter sets and a key frame; frames held back are lost. Only for
  /// one that `holdsQuantiser`.
  Status setCoarseness(int steps);

  /// Hands in a picture of the size asked for; one row or column more is cut off.
  Status send(const std::shared_ptr<const PixelBuffer>& picture, std::int64_t timestamp);

  /// The next encoded frame as Annex B, valid until the next call; null when there is none yet, or
  /// with `status` set when the encoder has failed.
  const AVPacket* receive(Status& status);

 private:
  LibavEncoder(const EncoderCandidate& candidate, const EncoderSettings& settings)
      : candidate_{candidate}, settings_{settings} {}

  static StatusOr<std::unique_ptr<LibavEncoder>> open(const EncoderCandidate& candidate,
                                                      const EncoderSettings& settings);
  Status configure(int coarseness);
  Status prepareDevice();
  Status prove();
  Frame wrap(const std::shared_ptr<const PixelBuffer>& picture) const;
  Frame convert(const PixelBuffer& picture) const;
  Frame upload(const AVFrame& picture) const;

  const EncoderCandidate& candidate_;
  const EncoderSettings settings_;
  std::optional<int> coarseness_;  // none when it could not be opened
  CodecContext context_;
  BufferReference frames_;  // pictures in the memory of the hardware, where it wants them there
  Packet packet_;
};

}  // namespace tessel::platform
