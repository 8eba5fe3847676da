#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "platform/media/TestPattern.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using test::PrivateXServer;
using test::XPainter;

// Sets the environment variables of a desktop; null unsets one.
void setDesktop(const char* display, const char* waylandDisplay, const char* sessionType) {
  const auto set = [](const char* name, const char* value) {
    value == nullptr ? unsetenv(name) : setenv(name, value, 1);
  };
  set("DISPLAY", display);
  set("WAYLAND_DISPLAY", waylandDisplay);
  set("XDG_SESSION_TYPE", sessionType);
}

std::string obstacle(ScreenSource source) {
  const std::optional<Obstacle> obstacle = services().desktops->select(source, {1920, 1080});
  return obstacle ? obstacle->sentence : "";
}

TEST(ScreensTest, OneScreenFillsTheRootWindow) {
  const PrivateXServer server;
  chooseScreen();
  const std::vector<Screen> list = services().desktops->current()->screens();
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].frame(), (Rect{{0, 0}, {1280, 720}}));
  EXPECT_NE(list[0].tsl_screenNumber(), 0U);
}

TEST(ScreensTest, PrimaryIsFirstAndTheOriginOfAll) {
  const PrivateXServer server;
  ASSERT_EQ(server.run("xrandr --setmonitor left 640/300x720/200+0+0 screen"), 0);
  ASSERT_EQ(server.run("xrandr --setmonitor '*right' 640/300x480/200+640+100 none"), 0);
  chooseScreen();
  const std::vector<Screen> list = services().desktops->current()->screens();
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].frame(), (Rect{{0, 0}, {640, 480}}));
  // Its lower edge lies 140 rows below that of the primary.
  EXPECT_EQ(list[1].frame(), (Rect{{-640, -140}, {640, 720}}));
  EXPECT_NE(list[0].tsl_screenNumber(), list[1].tsl_screenNumber());

  XPainter painter;
  painter.warpPointer(640 + 30, 100 + 40);
  EXPECT_EQ(services().desktops->current()->mouseLocation(), (Point{30, 440}));
}

TEST(ScreensTest, CursorCountsFromTheLowerEdge) {
  const PrivateXServer server;
  chooseScreen();
  XPainter painter;
  painter.warpPointer(0, 0);
  EXPECT_EQ(services().desktops->current()->mouseLocation(), (Point{0, 720}));
  painter.warpPointer(1279, 719);
  EXPECT_EQ(services().desktops->current()->mouseLocation(), (Point{1279, 1}));
}

TEST(ScreensTest, ChangeOfSizeIsSeenAtTheNextCall) {
  const PrivateXServer server;
  chooseScreen();
  ASSERT_EQ(services().desktops->current()->screens().size(), 1U);
  ASSERT_EQ(server.run("xrandr --output screen --off --fb 640x480"), 0);
  const std::vector<Screen> list = services().desktops->current()->screens();
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].frame(), (Rect{{0, 0}, {640, 480}}));
}

TEST(ScreensTest, ServerThatComesBackIsFoundAgain) {
  PrivateXServer server;
  chooseScreen();
  ASSERT_EQ(services().desktops->current()->screens().size(), 1U);
  server.end();
  EXPECT_TRUE(services().desktops->current()->screens().empty());
  server.restart();
  // A lost server is tried again once a second at most.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{10};
  while (services().desktops->current()->screens().empty() &&
         std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  EXPECT_EQ(services().desktops->current()->screens().size(), 1U);
}

TEST(ScreensTest, WaylandDesktopIsAnObstacle) {
  const PrivateXServer server;
  setDesktop(server.display().c_str(), "wayland-0", nullptr);
  EXPECT_NE(obstacle(ScreenSource::kAutomatic).find("Wayland"), std::string::npos);
  EXPECT_TRUE(services().desktops->current()->screens().empty());
  EXPECT_EQ(Capture({1280, 720}).session, nullptr);

  setDesktop(server.display().c_str(), nullptr, "wayland");
  EXPECT_NE(obstacle(ScreenSource::kAutomatic).find("Wayland"), std::string::npos);

  EXPECT_EQ(obstacle(ScreenSource::kX11), "");
  EXPECT_EQ(services().desktops->current()->screens().size(), 1U);
}

TEST(ScreensTest, NoDisplayIsAnObstacle) {
  setDesktop(nullptr, nullptr, nullptr);
  for (const ScreenSource source : {ScreenSource::kAutomatic, ScreenSource::kX11}) {
    EXPECT_NE(obstacle(source).find("DISPLAY is not set"), std::string::npos);
    EXPECT_TRUE(services().desktops->current()->screens().empty());
    EXPECT_EQ(services().desktops->current()->mouseLocation(), Point{});
  }
}

TEST(ScreensTest, ObstacleNamesAServerThatCannotBeReached) {
  setDesktop(":999", nullptr, nullptr);
  EXPECT_NE(obstacle(ScreenSource::kAutomatic).find(":999"), std::string::npos);
  EXPECT_TRUE(services().desktops->current()->screens().empty());
}

TEST(ScreensTest, TestPictureIsAScreenOfItsSize) {
  setDesktop(nullptr, nullptr, nullptr);
  ASSERT_EQ(services().desktops->select(ScreenSource::kPattern, {800, 450}), std::nullopt);
  const std::vector<Screen> list = services().desktops->current()->screens();
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].frame(), (Rect{{0, 0}, {800, 450}}));
  EXPECT_EQ(services().desktops->current()->mouseLocation(), (Point{400, 225}));
  EXPECT_NE(services().desktops->select(ScreenSource::kPattern, {0, 0}), std::nullopt);
}

TEST(ScreensTest, TestPictureMovesWithItsCounter) {
  ASSERT_EQ(services().desktops->select(ScreenSource::kPattern, {800, 450}), std::nullopt);
  const Capture capture{{640, 360}};
  ASSERT_TRUE(capture.frames->waitForCount(31));
  EXPECT_GE(shortestInterval(capture.frames->frames()), kFrameDuration);
  std::uint32_t last = 0;
  for (const SampleBuffer& frame : capture.frames->frames()) {
    const PixelBuffer& picture = *frame.imageBuffer;
    const auto counter =
        readFrameCounter(picture.planes[0], picture.strides[0], picture.width, picture.height);
    ASSERT_TRUE(counter.has_value());
    EXPECT_GT(*counter, last);
    last = *counter;
  }
}

TEST(ScreensTest, TheHubDrivesTheX11ScreenOnlyWhileThatIsCast) {
  const PrivateXServer server;
  const auto canBeDriven = [] {
    return services().desktops->current()->makeEventPoster()->createScrollWheelEvent(1).has_value();
  };
  chooseScreen();
  EXPECT_TRUE(canBeDriven());
  chooseScreen(ScreenSource::kPattern);
  EXPECT_FALSE(canBeDriven());
  chooseScreen(ScreenSource::kX11);
  EXPECT_TRUE(canBeDriven());
  setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  services().desktops->select(ScreenSource::kAutomatic, {});
  EXPECT_FALSE(canBeDriven());
  unsetenv("WAYLAND_DISPLAY");
}

TEST(ScreensTest, NoOtherDisplayCanBeCaptured) {
  ASSERT_EQ(services().desktops->select(ScreenSource::kPattern, {800, 450}), std::nullopt);
  const auto desktop = services().desktops->current();
  const auto queue = services().queues->makeSerialQueue("Capture Test");
  const auto refusal = [&](std::uint32_t displayID, Size size) {
    const auto made =
        desktop->makeCaptureSession({displayID, std::chrono::milliseconds{33}}, {size}, {}, queue);
    const auto* refused = std::get_if<CaptureRefusal>(&made);
    return refused == nullptr ? std::nullopt : std::optional{*refused};
  };
  const std::uint32_t first = desktop->screens().front().tsl_screenNumber();
  EXPECT_EQ(refusal(first, {640, 360}), std::nullopt);
  EXPECT_EQ(refusal(first + 1, {640, 360}), CaptureRefusal::kInput);
  EXPECT_EQ(refusal(first, {0, 0}), CaptureRefusal::kOutput);
}

}  // namespace
}  // namespace tessel::platform
