#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

#include "platform/Services.h"
#include "platform/TestPattern.h"
#include "tests/platform/FrameCollector.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;
using test::PrivateXServer;
using test::XPainter;

constexpr std::uint32_t kGrey = 0x808080;
constexpr std::uint32_t kWhite = 0xFFFFFF;

std::uint8_t lumaAt(const PixelBuffer& picture, int x, int y) {
  return picture.planes[0][y * picture.strides[0] + x];
}

bool isNear(int level, int wanted) { return std::abs(level - wanted) <= 3; }

// A capture of the first screen into a collector.
class Capture {
 public:
  explicit Capture(Size size) {
    const std::vector<Screen> screens = services().screens->screens();
    if (screens.empty()) return;
    CaptureInput input;
    input.displayID = screens.front().tsl_screenNumber();
    input.minFrameDuration = std::chrono::nanoseconds{std::chrono::seconds{1}} / 30;
    CaptureOutput output;
    output.size = size;
    session = services().screenCapture->makeCaptureSession();
    if (!session->canAddInput(input) || !session->canAddOutput(output)) return;
    session->addInput(input);
    session->addOutput(output, frames, services().queues->makeSerialQueue("capture test"));
    session->startRunning();
  }
  ~Capture() {
    frames->setBlocked(false);
    session->stopRunning();
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  std::shared_ptr<FrameCollector> frames = std::make_shared<FrameCollector>();
  std::shared_ptr<CaptureSession> session;
};

void choose(ScreenSource source = ScreenSource::automatic) {
  ASSERT_EQ(services().screens->select(source, {1920, 1080}), std::nullopt);
}

TEST(XCaptureTest, FirstFrameComesAtOnceAndNoneWhileNothingChanges) {
  const PrivateXServer server;
  choose();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  const SampleBuffer first = capture.frames->frames().front();
  EXPECT_EQ(first.imageBuffer->width, 1280);
  EXPECT_EQ(first.imageBuffer->height, 720);
  EXPECT_TRUE(isNear(lumaAt(*first.imageBuffer, 640, 360), 126));
  EXPECT_FALSE(capture.frames->waitForCount(2, milliseconds{1500}));
}

TEST(XCaptureTest, ChangeIsInTheNextFrame) {
  const PrivateXServer server;
  choose();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter.paint({{301, 203, 11, 7, kWhite}});
  ASSERT_TRUE(capture.frames->waitForCount(2));
  const auto second = capture.frames->frames()[1].imageBuffer;
  EXPECT_TRUE(isNear(lumaAt(*second, 301, 203), 235));
  EXPECT_TRUE(isNear(lumaAt(*second, 311, 209), 235));
  EXPECT_TRUE(isNear(lumaAt(*second, 300, 202), 126));
  EXPECT_TRUE(isNear(lumaAt(*second, 312, 210), 126));
  EXPECT_TRUE(isNear(lumaAt(*second, 1279, 719), 126));
}

}  // namespace
}  // namespace tessel::platform
