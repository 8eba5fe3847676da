#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "platform/Clock.h"
#include "tessel/Types.h"

namespace tessel::platform {

class SerialQueue;

/// Domain and code of the error of a capture pipeline that cannot be assembled.
inline constexpr const char* kCaptureErrorDomain = "AVFoundationErrorDomain";
inline constexpr long kCaptureErrorUnknown = -11800;

/// One picture in planar 4:2:0, BT.601 with limited range: a plane of luma, then two of chroma at
/// half width and half height (rounded up). Immutable once delivered: a capture never writes into
/// one that is still referenced.
struct PixelBuffer {
  int width = 0;
  int height = 0;
  std::array<const std::uint8_t*, 3> planes{};  ///< Y, U, V
  std::array<int, 3> strides{};                 ///< bytes from row to row
  std::shared_ptr<const void> storage;          ///< owns the planes
};

/// One captured frame.
struct SampleBuffer {
  std::shared_ptr<const PixelBuffer> imageBuffer;  ///< null for a frame without a picture
  Clock::Duration captured{};                      ///< the clock's uptime at the capture
};

/// Receives frames, on the queue given when the capture was made.
class CaptureOutputDelegate {
 public:
  virtual ~CaptureOutputDelegate() = default;
  virtual void didOutputSampleBuffer(const SampleBuffer& sampleBuffer) = 0;
  /// A frame was discarded because an earlier one was still being handled.
  virtual void didDropSampleBuffer(const SampleBuffer& sampleBuffer) = 0;
};

/// What is captured: a screen without its cursor.
struct CaptureInput {
  std::uint32_t displayID = 0;
  Clock::Duration minFrameDuration{};  ///< minimum time between two frames; greater than zero
};

/// The form in which frames are delivered: scaled to the whole of `size`, in the format that
/// encoders take. Frames that come while the delegate is busy are late, and discarded.
struct CaptureOutput {
  Size size;
};

/// A capture pipeline, stopped when made. Any thread; both calls may be repeated. Delivers a frame
/// when it starts, then one when the picture changes, and none while it does not. After
/// `stopRunning` has returned no delegate call begins; dropping the session stops it.
class CaptureSession {
 public:
  virtual ~CaptureSession() = default;
  virtual void startRunning() = 0;
  virtual void stopRunning() = 0;
};

}  // namespace tessel::platform
