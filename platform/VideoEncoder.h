#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "platform/ScreenCapture.h"
#include "tessel/Finding.h"

namespace tessel::platform {

/// Domain of the errors of encoders.
inline constexpr const char* kEncoderErrorDomain = "NSOSStatusErrorDomain";

/// 0 for success, else a number that only the backend can explain.
using Status = std::int32_t;

/// A value, or the status that says why there is none.
template <typename T>
using StatusOr = std::variant<T, Status>;

/// The parameter sets (SPS, PPS) of an encoded stream, in the order in which they are sent.
class FormatDescription {
 public:
  virtual ~FormatDescription() = default;
  virtual StatusOr<std::size_t> parameterSetCount() const = 0;
  /// The bytes live as long as this object.
  virtual StatusOr<std::span<const std::uint8_t>> parameterSet(std::size_t index) const = 0;
};

/// One H.264 NAL unit, without start code or length field.
using NalUnit = std::span<const std::uint8_t>;

/// One encoded frame. Lives for the callback only.
class EncodedSampleBuffer {
 public:
  virtual ~EncodedSampleBuffer() = default;
  /// False for a key frame; none when the encoder did not say.
  virtual std::optional<bool> notSync() const = 0;
  /// Null when the encoder gave none.
  virtual const FormatDescription* formatDescription() const = 0;
  /// The NAL units without parameter sets, in order. They live as long as this object.
  virtual StatusOr<std::span<const NalUnit>> nalUnits() const = 0;
};

/// Bit of `infoFlags`: the encoder dropped the frame.
inline constexpr std::uint32_t kInfoFrameDropped = 0x2;

/// Called on the encoder's own callback thread, one frame at a time, once for each frame that was
/// accepted and in that order. `sampleBuffer` is null when the encoder produced none.
using CompressionOutputCallback = std::function<void(Status status, std::uint32_t infoFlags,
                                                     const EncodedSampleBuffer* sampleBuffer)>;

/// The time of a frame: value / timescale seconds.
struct PresentationTime {
  std::int64_t value = 0;
  std::int32_t timescale = 1;
};

/// The properties of an encoder, in the order in which a backend sets them. What is not here (bit
/// rate, profile, key-frame interval) is the backend's choice.
struct CompressionSettings {
  bool allowFrameReordering = false;
  bool realTime = true;
  int expectedFrameRate = 30;  ///< frames a second; greater than zero
};

/// An H.264 encoder. One thread at a time; `invalidate` and the question about hardware may come
/// from any thread.
class CompressionSession {
 public:
  virtual ~CompressionSession() = default;
  /// Whether the encoder in use is a piece of hardware.
  virtual StatusOr<bool> usingHardwareAcceleratedVideoEncoder() const = 0;
  virtual Status prepareToEncodeFrames() = 0;
  /// Hands one frame to the encoder; status 0 means that a callback follows. An odd width or height
  /// is cut to the next lower even one.
  virtual Status encodeFrame(const std::shared_ptr<const PixelBuffer>& imageBuffer,
                             PresentationTime presentationTime) = 0;
  /// Ends the encoder: once this has returned, frames fail and the callback is not called again.
  /// May be called twice; never from the callback.
  virtual void invalidate() = 0;
};

/// Makes encoders. Any thread.
class VideoEncoding {
 public:
  virtual ~VideoEncoding() = default;

  /// An encoder for pictures of `width` by `height`: hardware where it works, else software.
  virtual StatusOr<std::shared_ptr<CompressionSession>> makeCompressionSession(
      std::int32_t width, std::int32_t height, const CompressionSettings& settings,
      CompressionOutputCallback callback) = 0;

  /// A sentence that explains a status.
  virtual std::string describe(Status status) const = 0;

  /// The encoder that a cast would get, for `diagnose()`.
  virtual Finding finding() const = 0;
};

}  // namespace tessel::platform
