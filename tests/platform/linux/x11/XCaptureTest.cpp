#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/media/TestPattern.h"
#include "tessel/Log.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/Eventually.h"
#include "tests/support/PrivateXServer.h"
#include "tests/support/ThreadSignals.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;
using test::PrivateXServer;
using test::XPainter;

TEST(XCaptureTest, FirstFrameComesAtOnceAndNoneWhileNothingChanges) {
  const PrivateXServer server;
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  const SampleBuffer first = capture.frames->frames().front();
  EXPECT_EQ(first.imageBuffer->width, 1280);
  EXPECT_EQ(first.imageBuffer->height, 720);
  EXPECT_TRUE(isNear(lumaAt(*first.imageBuffer, 640, 360), kGreyLuma));
  // Longer than the interval of the check for unreported changes.
  EXPECT_FALSE(capture.frames->waitForCount(2, milliseconds{1500}));
}

TEST(XCaptureTest, ChangeIsInTheNextFrameAndNothingElse) {
  const PrivateXServer server;
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  const auto first = capture.frames->frames()[0].imageBuffer;
  painter.paint({{301, 203, 11, 7, kWhite}});
  ASSERT_TRUE(capture.frames->waitForCount(2));
  const auto second = capture.frames->frames()[1].imageBuffer;
  for (int y = 0; y < 720; ++y) {
    for (int x = 0; x < 1280; ++x) {
      const bool changed = x >= 301 && x < 312 && y >= 203 && y < 210;
      ASSERT_TRUE(isNear(lumaAt(*second, x, y), changed ? kWhiteLuma : kGreyLuma))
          << x << ", " << y;
    }
  }
  // A delivered picture is not written again.
  EXPECT_TRUE(isNear(lumaAt(*first, 305, 205), kGreyLuma));
}

TEST(XCaptureTest, CaptureTimeIsTheClocksUptime) {
  const PrivateXServer server;
  chooseScreen();
  const Clock::Duration before = services().clock->uptime();
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  EXPECT_GE(capture.frames->frames()[0].captured, before);
  EXPECT_LE(capture.frames->frames()[0].captured, services().clock->uptime());
}

TEST(XCaptureTest, FramesOfAScreenThatAlwaysChangesAreTheMinimumApart) {
  const PrivateXServer server{{.width = 320, .height = 240}};
  chooseScreen();
  std::atomic<bool> done = false;
  XPainter painter;
  std::thread painting{[&] {
    for (std::uint32_t colour = 0; !done; colour += 0x010203) painter.clear(colour & 0xFFFFFFU);
  }};
  {
    const Capture capture{{320, 240}};
    EXPECT_TRUE(capture.frames->waitForCount(61, std::chrono::seconds{20}));
    EXPECT_GE(shortestInterval(capture.frames->frames()), kFrameDuration);
  }
  done = true;
  painting.join();
}

TEST(XCaptureTest, FramesAfterARestAreTheMinimumApart) {
  const PrivateXServer server{{.width = 320, .height = 240}};
  chooseScreen();
  XPainter painter;
  const Capture capture{{320, 240}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  std::uint32_t colour = 0;
  for (std::size_t count = 1; count < 21; count += 4) {
    EXPECT_FALSE(capture.frames->waitForCount(count + 1, milliseconds{100}));
    for (std::size_t next = count + 1; next <= count + 4; ++next) {
      painter.clear(colour += 0x102030);
      ASSERT_TRUE(capture.frames->waitForCount(next));
    }
  }
  EXPECT_GE(shortestInterval(capture.frames->frames()), kFrameDuration);
}

TEST(XCaptureTest, PictureIsScaledToTheWholeSize) {
  const PrivateXServer server{{.width = 1600, .height = 1200}};
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  painter.paint({{800, 0, 800, 600, kWhite}});  // the upper right quarter
  const Capture capture{{640, 360}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  const auto picture = capture.frames->frames()[0].imageBuffer;
  EXPECT_EQ(picture->width, 640);
  EXPECT_EQ(picture->height, 360);
  EXPECT_TRUE(isNear(lumaAt(*picture, 310, 90), kGreyLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 330, 90), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 639, 175), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 639, 185), kGreyLuma));

  painter.paint({{0, 600, 800, 600, kWhite}});  // and a change while scaling
  ASSERT_TRUE(capture.frames->waitForCount(2));
  EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[1].imageBuffer, 100, 300), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 100, 300), kGreyLuma));
}

TEST(XCaptureTest, ScaledPictureIsTheSameInPartsAsInWhole) {
  const PrivateXServer server{{.width = 1029, .height = 601}};
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture inParts{{640, 360}};
  ASSERT_TRUE(inParts.frames->waitForCount(1));
  std::uint32_t colour = 0x123456;
  for (std::size_t frame = 2; frame < 22; ++frame) {
    const int place = static_cast<int>(frame) * 37;
    colour = colour * 5 + 0x030507;
    painter.paint({{place, place / 2 + 3, 13, 7, colour & 0xFFFFFFU},
                   {1028 - place, 600 - place / 2, 1, 1, kWhite}});
    ASSERT_TRUE(inParts.frames->waitForCount(frame));
  }
  const Capture inWhole{{640, 360}};
  ASSERT_TRUE(inWhole.frames->waitForCount(1));
  const auto parts = inParts.frames->frames().back().imageBuffer;
  const auto whole = inWhole.frames->frames().front().imageBuffer;
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int shrink = plane == 0 ? 1 : 2;
    for (int y = 0; y < 360 / shrink; ++y) {
      ASSERT_EQ(std::memcmp(parts->planes[plane] + y * parts->strides[plane],
                            whole->planes[plane] + y * whole->strides[plane],
                            static_cast<std::size_t>(640 / shrink)),
                0)
          << "plane " << plane << ", row " << y;
    }
  }
}

TEST(XCaptureTest, OddSizesAreCapturedToTheLastPixel) {
  const PrivateXServer server{{.width = 321, .height = 241}};
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{321, 241}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter.paint({{320, 240, 1, 1, kWhite}});
  ASSERT_TRUE(capture.frames->waitForCount(2));
  EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[1].imageBuffer, 320, 240), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[1].imageBuffer, 319, 239), kGreyLuma));
}

TEST(XCaptureTest, RootWindowMayChangeItsSize) {
  const PrivateXServer server;
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  ASSERT_EQ(server.run("xrandr --output screen --off --fb 640x480"), 0);
  painter.clear(kGrey);
  painter.paint({{0, 0, 320, 240, kWhite}});
  // The smaller screen fills the picture, whose size stays.
  const auto shrunk = capture.frames->waitFor([](const PixelBuffer& picture) {
    return isNear(lumaAt(picture, 630, 350), kWhiteLuma) &&
           isNear(lumaAt(picture, 650, 370), kGreyLuma);
  });
  ASSERT_NE(shrunk, nullptr);
  EXPECT_EQ(shrunk->width, 1280);
  EXPECT_EQ(shrunk->height, 720);

  ASSERT_EQ(server.run("xrandr --fb 1280x720 --output screen --mode 1280x720"), 0);
  painter.clear(kWhite);
  painter.paint({{0, 0, 640, 360, kGrey}});
  EXPECT_NE(capture.frames->waitFor([](const PixelBuffer& picture) {
    return isNear(lumaAt(picture, 630, 350), kGreyLuma) &&
           isNear(lumaAt(picture, 650, 370), kWhiteLuma);
  }),
            nullptr);
}

TEST(XCaptureTest, WorksWithoutSharedMemory) {
  const PrivateXServer server{{.arguments = {"-extension", "MIT-SHM"}}};
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter.paint({{40, 30, 20, 10, kWhite}});
  ASSERT_TRUE(capture.frames->waitForCount(2));
  const auto picture = capture.frames->frames()[1].imageBuffer;
  EXPECT_TRUE(isNear(lumaAt(*picture, 45, 35), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 1279, 719), kGreyLuma));
}

TEST(XCaptureTest, WorksWithSixteenBitColours) {
  const PrivateXServer server{{.width = 641, .height = 480, .depth = 16}};
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{641, 480}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter.paint({{41, 31, 21, 11, kWhite}});  // an odd width: rows are padded
  ASSERT_TRUE(capture.frames->waitForCount(2));
  const auto picture = capture.frames->frames()[1].imageBuffer;
  EXPECT_TRUE(isNear(lumaAt(*picture, 42, 41), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 61, 32), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 63, 32), kGreyLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 640, 479), kGreyLuma));
}

TEST(XCaptureTest, WorksWithoutDamage) {
  const PrivateXServer server{{.arguments = {"-extension", "DAMAGE"}}};
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  painter.paint({{40, 30, 4, 4, kWhite}});
  EXPECT_NE(capture.frames->waitFor([](const PixelBuffer& picture) {
    return isNear(lumaAt(picture, 41, 31), kWhiteLuma);
  }),
            nullptr);
  const std::size_t count = capture.frames->frames().size();
  EXPECT_FALSE(capture.frames->waitForCount(count + 1, milliseconds{1500}));
}

TEST(XCaptureTest, FirstMonitorOnlyIsCaptured) {
  const PrivateXServer server{{.width = 1280, .height = 720}};
  ASSERT_EQ(server.run("xrandr --setmonitor left 640/300x720/200+0+0 screen"), 0);
  ASSERT_EQ(server.run("xrandr --setmonitor '*right' 640/300x480/200+640+100 none"), 0);
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  painter.paint({{640, 100, 640, 480, kWhite}});
  const Capture capture{{640, 480}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  const auto picture = capture.frames->frames()[0].imageBuffer;
  EXPECT_TRUE(isNear(lumaAt(*picture, 0, 0), kWhiteLuma));
  EXPECT_TRUE(isNear(lumaAt(*picture, 639, 479), kWhiteLuma));

  painter.paint({{0, 0, 640, 720, 0}});  // beside it
  EXPECT_FALSE(capture.frames->waitForCount(2, milliseconds{300}));
  painter.paint({{642, 102, 4, 4, kGrey}});
  ASSERT_TRUE(capture.frames->waitForCount(2));
  EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[1].imageBuffer, 3, 3), kGreyLuma));
}

TEST(XCaptureTest, ServerThatGoesAwayEndsTheFramesAndNothingElse) {
  const auto lines = std::make_shared<test::Eventually<std::vector<std::string>>>();
  const auto isLogged = [&lines](const std::string& line) {
    return lines->becomes([&](const auto& all) { return std::ranges::count(all, line) == 1; });
  };
  setLogSink([lines](std::string_view line) {
    lines->update([&](auto& all) { all.emplace_back(line); });
  });
  PrivateXServer server;
  chooseScreen();
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  server.end();
  while (capture.frames->waitForCount(capture.frames->frames().size() + 1, milliseconds{200})) {
    ASSERT_LT(capture.frames->frames().size(), 4U);  // at most what was under way
  }
  const auto last = capture.frames->frames().size();
  EXPECT_TRUE(services().desktops->current()->screens().empty());
  services().desktops->current()->mouseLocation();
  EXPECT_TRUE(isLogged(
      "-[XCaptureSession startRunning]: no further frame will come: the X server is gone"));
  capture.session->stopRunning();
  capture.session->startRunning();
  EXPECT_FALSE(capture.frames->waitForCount(last + 1, milliseconds{200}));
  EXPECT_TRUE(
      isLogged("-[XCaptureSession startRunning]: no frame will come: the X server cannot be read"));
  EXPECT_TRUE(isLogged(
      "-[XCaptureSession startRunning]: no further frame will come: the X server is gone"));
  setLogSink(nullptr);
}

TEST(XCaptureTest, TheHostsSignalsStayOffItsThread) {
  const PrivateXServer server;
  chooseScreen();
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  EXPECT_EQ(test::keepsHostSignalsOff("tessel-capture"), true);
}

TEST(XCaptureTest, LateFramesAreDroppedAndTheLastChangeIsNot) {
  const PrivateXServer server;
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  // The capture may be too slow to come by while its delegate is busy: then once more.
  for (int round = 0; round < 20 && capture.frames->drops() == 0; ++round) {
    const std::size_t count = capture.frames->frames().size();
    capture.frames->setBlocked(true);
    painter.clear(kWhite);
    ASSERT_TRUE(capture.frames->waitForCount(count + 1));
    painter.clear(kGrey);
    EXPECT_FALSE(capture.frames->waitForCount(count + 2, milliseconds{200}));
    capture.frames->setBlocked(false);
    ASSERT_TRUE(capture.frames->waitForCount(count + 2));
    EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[count].imageBuffer, 5, 5), kWhiteLuma));
    EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[count + 1].imageBuffer, 5, 5), kGreyLuma));
  }
  EXPECT_GE(capture.frames->drops(), 1);
}

TEST(XCaptureTest, NoFrameComesAfterStopAndOneAtOnceAfterTheNextStart) {
  const PrivateXServer server;
  chooseScreen();
  XPainter painter;
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  capture.session->stopRunning();
  capture.session->stopRunning();
  const std::size_t count = capture.frames->frames().size();
  painter.clear(kWhite);
  EXPECT_FALSE(capture.frames->waitForCount(count + 1, milliseconds{200}));
  capture.session->startRunning();
  ASSERT_TRUE(capture.frames->waitForCount(count + 1));
  EXPECT_TRUE(isNear(lumaAt(*capture.frames->frames()[count].imageBuffer, 5, 5), kWhiteLuma));
}

}  // namespace
}  // namespace tessel::platform
