#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "platform/EventPoster.h"
#include "platform/linux/x11/XConnect.h"
#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XWatch.h"
#include "platform/media/TestPattern.h"
#include "tessel/Log.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/Eventually.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using test::PrivateXServer;
using test::XPainter;

// One wait for the server leaves half of this to a machine that is busy.
constexpr auto kTwoWaits = 2 * kXServerPatience;

// Calls that do not wait for the server in full.
constexpr auto kAtOnce = seconds{2};
static_assert(kAtOnce < kXServerPatience);

// How long a piece of work takes.
template <typename Work>
milliseconds timeOf(Work work) {
  const auto start = steady_clock::now();
  work();
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

// Whether it comes to hold, in time.
template <typename Holds>
bool becomes(Holds holds) {
  for (const auto end = steady_clock::now() + seconds{10}; steady_clock::now() < end;) {
    if (holds()) return true;
    std::this_thread::yield();
  }
  return false;
}

bool isDown(const XPainter& painter, int keyCode) {
  const XReply<xcb_query_keymap_reply_t> keys{xcb_query_keymap_reply(
      painter.connection(), xcb_query_keymap(painter.connection()), nullptr)};
  return keys && (keys->keys[keyCode / 8] >> (keyCode % 8) & 1) != 0;
}

void postKey(EventPoster& poster, bool down) {
  constexpr std::uint16_t kVirtualA = 0;
  if (const auto event = poster.createKeyboardEvent(kVirtualA, down)) poster.post(*event);
}
constexpr int kKeyCodeA = KEY_A + 8;

class SilentXServerTest : public testing::Test {
 protected:
  // Whoever still waits for the server is answered before the process may end.
  ~SilentXServerTest() override {
    server.resume();
    EXPECT_TRUE(becomes([] { return XConnection::open(std::getenv("DISPLAY")) != nullptr; }));
  }

  const PrivateXServer server;
};

TEST_F(SilentXServerTest, StoppingACaptureWaitsForOneAnswerAtMost) {
  chooseScreen();
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  EXPECT_LT(timeOf([&] {
              server.suspend();
              // Longer than the interval at which it asks the server something, whatever changes.
              EXPECT_FALSE(capture.frames->waitForCount(2, milliseconds{1200}));
              capture.session->stopRunning();
            }),
            kTwoWaits);

  // Nor does one that starts meanwhile wait for longer.
  capture.session->startRunning();
  EXPECT_LT(timeOf([&] { capture.session->stopRunning(); }), kTwoWaits);
  EXPECT_LT(timeOf([&] { EXPECT_EQ(XConnection::open(std::getenv("DISPLAY")), nullptr); }),
            kAtOnce);

  server.resume();
  const std::size_t count = capture.frames->frames().size();
  capture.session->startRunning();
  EXPECT_TRUE(capture.frames->waitForCount(count + 1));
}

TEST_F(SilentXServerTest, FramesGoOnWhenTheServerAnswersAgain) {
  const auto silence = std::make_shared<test::Eventually<int>>(0);
  setLogSink([silence](std::string_view line) {
    if (line ==
        "-[XCaptureSession startRunning]: no frame comes until the X server answers again") {
      silence->update([](int& count) { ++count; });
    }
  });
  chooseScreen();
  XPainter painter;
  painter.clear(kGrey);
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  server.suspend();
  EXPECT_TRUE(silence->becomes([](int count) { return count == 1; }));
  server.resume();
  painter.clear(kWhite);
  EXPECT_NE(capture.frames->waitFor([](const PixelBuffer& picture) {
    return isNear(lumaAt(picture, 640, 360), kWhiteLuma);
  }),
            nullptr);
  EXPECT_EQ(silence->get(), 1);
  setLogSink(nullptr);
}

TEST_F(SilentXServerTest, CursorIsWaitedForOnce) {
  chooseScreen();
  XPainter painter;
  painter.warpPointer(30, 20);
  ASSERT_EQ(services().desktops->current()->mouseLocation(), (Point{30, 700}));
  server.suspend();
  EXPECT_LT(timeOf([] { services().desktops->current()->mouseLocation(); }), kTwoWaits);
  EXPECT_LT(timeOf([] {
              services().desktops->current()->mouseLocation();
              services().desktops->current()->mouseLocation();
              services().desktops->current()->screens();
            }),
            kAtOnce);
  server.resume();
  painter.warpPointer(40, 20);
  EXPECT_TRUE(becomes([] {
    return services().desktops->current()->mouseLocation() == Point{40, 700};
  }));
}

TEST_F(SilentXServerTest, ChoiceIsRefusedInTime) {
  server.suspend();
  std::optional<Obstacle> obstacle;
  EXPECT_LT(timeOf([&] { obstacle = services().desktops->select(ScreenSource::automatic, {}); }),
            kTwoWaits);
  ASSERT_TRUE(obstacle.has_value());
  EXPECT_NE(obstacle->sentence.find(server.display()), std::string::npos);
  server.resume();
  EXPECT_TRUE(becomes([] { return !services().desktops->select(ScreenSource::automatic, {}); }));
}

TEST_F(SilentXServerTest, PostingEndsInTimeHoweverMuchIsPosted) {
  chooseScreen();
  const auto poster = services().desktops->current()->makeEventPoster();
  postKey(*poster, true);
  postKey(*poster, false);
  server.suspend();
  // Far more than the socket takes.
  EXPECT_LT(timeOf([&] {
              for (int count = 0; count < 5000; ++count) postKey(*poster, count % 2 == 0);
            }),
            kTwoWaits);
  EXPECT_LT(timeOf([&] {
              if (const auto event = poster->createMouseEvent(MouseEventType::kMoved, {1, 1},
                                                              MouseButton::kLeft)) {
                poster->post(*event);
              }
              poster->releaseAll();
              poster->close();
            }),
            kAtOnce);
}

TEST_F(SilentXServerTest, WhatIsHeldIsReleasedIfTheServerAnswersInTheEnd) {
  chooseScreen();
  XPainter painter;
  const auto poster = services().desktops->current()->makeEventPoster();
  postKey(*poster, true);
  ASSERT_TRUE(becomes([&] { return isDown(painter, kKeyCodeA); }));
  server.suspend();
  // The release is on its way when the connection is given up, and is never read.
  postKey(*poster, false);
  const auto move = MouseEvent{MouseEventType::kMoved, {1, 1}, MouseButton::kLeft, 1};
  EXPECT_LT(timeOf([&] { poster->post(move); }), kTwoWaits);
  server.resume();
  ASSERT_TRUE(becomes([] { return XConnection::open(std::getenv("DISPLAY")) != nullptr; }));
  EXPECT_LT(timeOf([&] { poster->close(); }), kAtOnce);
  EXPECT_TRUE(becomes([&] { return !isDown(painter, kKeyCodeA); }));
}

TEST_F(SilentXServerTest, SeveralConnectionsWaitInFullOnce) {
  chooseScreen();
  services().desktops->current()->mouseLocation();
  const auto mouse = services().desktops->current()->makeEventPoster();
  const auto keyBoard = services().desktops->current()->makeEventPoster();
  postKey(*keyBoard, true);
  server.suspend();
  EXPECT_LT(timeOf([&] {
              services().desktops->current()->mouseLocation();
              mouse->close();
              keyBoard->close();
            }),
            kTwoWaits);
}

TEST_F(SilentXServerTest, WatchEndsTheCallThatWaits) {
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  {
    test::Eventually<int> losses{0};
    std::atomic<milliseconds> patience = milliseconds{seconds{60}};
    XWatch watch{ends[0], [&patience] { return patience.load(); },
                 [&] { losses.update([](int& count) { ++count; }); }};
    for (int count = 0; count < 3; ++count) {
      const XWatch::Wait quick{watch};
    }
    EXPECT_FALSE(watch.expired());
    patience = milliseconds{50};
    const XWatch::Wait wait{watch};
    const XWatch::Wait within{watch};
    char byte = 0;
    EXPECT_EQ(recv(ends[0], &byte, 1, 0), 0);
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(losses.get(), 1);
  }
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace tessel::platform
