#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "platform/ScreenCapture.h"
#include "platform/VideoEncoder.h"

namespace tessel::platform {

struct EncoderCandidate;

/// What is asked of an encoder.
struct EncoderSettings {
  int width = 0;   ///< even
  int height = 0;  ///< even
  int framesPerSecond = 30;
};

/// Output of an encoder as Annex B, valid until the encoder's next call.
struct EncoderPacket {
  std::span<const std::uint8_t> stream;
  bool keyFrame = false;
};

/// One opened H.264 encoder. Its stream begins with a key frame. One thread at a time.
class H264Encoder {
 public:
  virtual ~H264Encoder() = default;

  virtual const EncoderCandidate& candidate() const = 0;

  /// The parameter sets as Annex B; empty if the encoder sends them within the stream.
  virtual std::span<const std::uint8_t> extradata() const = 0;

  /// Whether the quantiser is set from outside; other encoders keep to a bit rate by themselves.
  virtual bool holdsQuantiser() const = 0;

  /// How much coarser than meant the next frames are to be; see RateGovernor. A change begins the
  /// stream anew, with other parameter sets and a key frame. Only for one that `holdsQuantiser`.
  virtual Status setCoarseness(int steps) = 0;

  /// Hands in a picture of the size asked for; one row or column more is cut off.
  virtual Status send(const std::shared_ptr<const PixelBuffer>& picture,
                      std::int64_t timestamp) = 0;

  /// The next packet; none if there is none yet, or with `status` set if the encoder has failed.
  virtual std::optional<EncoderPacket> receive(Status& status) = 0;

  /// Encodes one picture: gives `take` the packets up to the first for which it returns true, the
  /// one with the picture. An encoder that holds the picture back has failed with EAGAIN: on a
  /// screen that stands still no later frame would push it out.
  Status encode(const std::shared_ptr<const PixelBuffer>& picture, std::int64_t timestamp,
                const std::function<bool(const EncoderPacket&)>& take);
};

}  // namespace tessel::platform
