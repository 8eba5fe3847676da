#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/Clock.h"
#include "tessel/Types.h"

namespace tessel::platform {

class SerialQueue;

/// Domain and code of the error with which a capture pipeline that cannot be assembled ends.
inline constexpr const char* kCaptureErrorDomain = "AVFoundationErrorDomain";
inline constexpr long kCaptureErrorUnknown = -11800;

/// "yuvs", the 8-bit 4:2:2 format that the capture output asks for. A backend may deliver the
/// format that its encoder takes directly.
inline constexpr std::uint32_t kPixelFormatYuvs = 0x79757673;

/// One picture in planar 4:2:0: a plane of luma, then two of chroma at half width and half height
/// (rounded up). Immutable once delivered; held for as long as anybody needs it, so a capture
/// never writes into one that is still referenced.
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

/// Receives frames, on the queue given to `addOutput`.
class CaptureOutputDelegate {
 public:
  virtual ~CaptureOutputDelegate() = default;
  virtual void didOutputSampleBuffer(const SampleBuffer& sampleBuffer) = 0;
  /// A frame came while an earlier one was still being handled.
  virtual void didDropSampleBuffer(const SampleBuffer& sampleBuffer) = 0;
};

/// What is captured.
struct CaptureInput {
  std::uint32_t displayID = 0;
  bool capturesCursor = false;
  bool capturesMouseClicks = false;
  Clock::Duration minFrameDuration{};
};

/// In which form it is delivered; the picture is scaled to the whole size.
struct CaptureOutput {
  Size size;
  std::uint32_t pixelFormat = kPixelFormatYuvs;
  bool alwaysDiscardsLateVideoFrames = true;
};

/// A capture pipeline. Made stopped. `startRunning` and `stopRunning` may be called from any
/// thread, stop also twice. A frame comes at once when it starts, then one for every change, and
/// none while nothing changes. After `stopRunning` has returned no delegate call begins; dropping
/// the session stops it.
class CaptureSession {
 public:
  virtual ~CaptureSession() = default;
  virtual bool canAddInput(const CaptureInput& input) = 0;
  virtual void addInput(const CaptureInput& input) = 0;
  virtual bool canAddOutput(const CaptureOutput& output) = 0;
  virtual void addOutput(const CaptureOutput& output,
                         const std::weak_ptr<CaptureOutputDelegate>& delegate,
                         const std::shared_ptr<SerialQueue>& queue) = 0;
  virtual void startRunning() = 0;
  virtual void stopRunning() = 0;
};

class ScreenCapture {
 public:
  virtual ~ScreenCapture() = default;
  virtual std::shared_ptr<CaptureSession> makeCaptureSession() = 0;
};

}  // namespace tessel::platform
