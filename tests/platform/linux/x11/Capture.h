#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "platform/Services.h"
#include "tests/platform/linux/x11/FrameCollector.h"

namespace tessel::platform {

inline constexpr std::uint32_t kGrey = 0x808080;
inline constexpr std::uint32_t kWhite = 0xFFFFFF;
inline constexpr int kGreyLuma = 126;
inline constexpr int kWhiteLuma = 235;

/// The luma at a place; -1 outside the picture.
inline int lumaAt(const PixelBuffer& picture, int x, int y) {
  if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return -1;
  return picture.planes[0][y * picture.strides[0] + x];
}

/// Whether a level is the wanted one, give or take what a conversion may round.
inline bool isNear(int level, int wanted) { return std::abs(level - wanted) <= 4; }

/// Lets the library choose again: the environment has changed.
inline void chooseScreen(ScreenSource source = ScreenSource::kAutomatic) {
  ASSERT_EQ(services().desktops->select(source, {1920, 1080}), std::nullopt);
}

/// The minimum time between two frames of a capture.
inline constexpr Clock::Duration kFrameDuration =
    std::chrono::nanoseconds{std::chrono::seconds{1}} / 30;

/// The shortest time between two frames, by their capture times.
inline Clock::Duration shortestInterval(const std::vector<SampleBuffer>& frames) {
  Clock::Duration shortest = Clock::Duration::max();
  for (std::size_t i = 1; i < frames.size(); ++i) {
    shortest = std::min(shortest, frames[i].captured - frames[i - 1].captured);
  }
  return shortest;
}

/// A running capture of the first screen into a collector.
class Capture {
 public:
  explicit Capture(Size size) {
    const auto desktop = services().desktops->current();
    const std::vector<Screen> screens = desktop->screens();
    const CaptureInput input{screens.empty() ? 0 : screens.front().tsl_screenNumber(),
                             kFrameDuration};
    const auto made = desktop->makeCaptureSession(
        input, CaptureOutput{size}, frames, services().queues->makeSerialQueue("Capture Test"));
    if (const auto* accepted = std::get_if<std::shared_ptr<CaptureSession>>(&made)) {
      session = *accepted;
      session->startRunning();
    }
  }
  ~Capture() {
    frames->setBlocked(false);
    if (session) session->stopRunning();
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  const std::shared_ptr<FrameCollector> frames = std::make_shared<FrameCollector>();
  std::shared_ptr<CaptureSession> session;  ///< null when it cannot be made
};

}  // namespace tessel::platform
