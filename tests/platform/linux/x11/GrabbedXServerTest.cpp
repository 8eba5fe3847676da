#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tessel/Log.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/Eventually.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;
using test::PrivateXServer;
using test::XPainter;

using LogLines = test::Eventually<std::vector<std::string>>;

constexpr const char* kSilent =
    "-[XCaptureSession startRunning]: no frame comes until the X server answers again";

// While one client grabs the server, the requests of all others wait.
class GrabbedXServerTest : public testing::Test {
 protected:
  GrabbedXServerTest() {
    setLogSink([all = lines](std::string_view line) {
      all->update([&](auto& logged) { logged.emplace_back(line); });
    });
    chooseScreen();
    painter = std::make_unique<XPainter>();
    painter->clear(kGrey);
  }
  ~GrabbedXServerTest() override { setLogSink(nullptr); }

  std::ptrdiff_t silences() const { return std::ranges::count(lines->get(), kSilent); }

  static bool showsWhite(const Capture& capture) {
    return capture.frames->waitFor([](const PixelBuffer& picture) {
      return isNear(lumaAt(picture, 640, 360), kWhiteLuma);
    }) != nullptr;
  }

  const std::shared_ptr<LogLines> lines = std::make_shared<LogLines>();
  const PrivateXServer server;
  std::unique_ptr<XPainter> painter;
};

TEST_F(GrabbedXServerTest, CaptureWaitsForAGrabThatEndsSoon) {
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter->grabServer();
  painter->clear(kWhite);
  EXPECT_FALSE(capture.frames->waitForCount(2, milliseconds{1500}));
  painter->ungrabServer();
  EXPECT_TRUE(showsWhite(capture));
  EXPECT_EQ(silences(), 0);  // over the same connection
}

TEST_F(GrabbedXServerTest, CaptureResumesAfterAGrabThatOutlastsTheTimeout) {
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter->grabServer();
  painter->clear(kWhite);
  EXPECT_TRUE(
      lines->becomes([](const auto& all) { return std::ranges::count(all, kSilent) == 1; }));
  painter->ungrabServer();
  EXPECT_TRUE(showsWhite(capture));
  EXPECT_EQ(silences(), 1);
}

TEST_F(GrabbedXServerTest, CaptureThatStartsDuringAGrabBeginsWhenItEnds) {
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  capture.session->stopRunning();
  const std::size_t count = capture.frames->frames().size();
  painter->grabServer();
  painter->clear(kWhite);
  capture.session->startRunning();
  EXPECT_FALSE(capture.frames->waitForCount(count + 1, milliseconds{500}));
  painter->ungrabServer();
  EXPECT_TRUE(showsWhite(capture));
}

}  // namespace
}  // namespace tessel::platform
