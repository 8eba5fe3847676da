#include <csignal>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/EventPoster.h"
#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XDamage.h"
#include "platform/linux/x11/XGrabber.h"
#include "platform/linux/x11/XPixelFormat.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using test::PrivateXServer;

// This thread is a host's: SIGPIPE has its default action, which ends the process.
class LostXServerTest : public testing::Test {
 protected:
  LostXServerTest() {
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
  }

  // No write of ours is left over for the host to find.
  static bool pipeSignalIsPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
  }

  PrivateXServer server;
};

TEST_F(LostXServerTest, DesktopIsUsedOnOnAThreadOfTheHost) {
  chooseScreen();
  const auto desktop = services().desktops->current();
  ASSERT_EQ(desktop->screens().size(), 1U);
  const std::uint32_t first = desktop->screens().front().tsl_screenNumber();
  const auto poster = desktop->makeEventPoster();
  const auto event = poster->createMouseEvent(MouseEventType::kMoved, {1, 1}, MouseButton::kLeft);
  ASSERT_TRUE(event.has_value());
  server.end();
  poster->post(*event);
  poster->releaseAll();
  poster->close();
  desktop->mouseLocation();
  EXPECT_TRUE(desktop->screens().empty());
  EXPECT_NE(desktop->obstacle(), std::nullopt);
  EXPECT_FALSE(desktop->screenFinding().usable);
  EXPECT_FALSE(desktop->inputFinding().usable);
  const auto made =
      desktop->makeCaptureSession({first, std::chrono::milliseconds{33}}, {{640, 480}}, {},
                                  services().queues->makeSerialQueue("Test"));
  EXPECT_TRUE(std::holds_alternative<CaptureRefusal>(made));
  EXPECT_FALSE(pipeSignalIsPending());
}

TEST_F(LostXServerTest, WriteRaisesNoSignal) {
  const auto connection = XConnection::open(server.display());
  ASSERT_NE(connection, nullptr);
  connection->request(xcb_get_input_focus);
  server.end();
  connection->flush();
  EXPECT_FALSE(connection->alive());
  EXPECT_FALSE(pipeSignalIsPending());
}

TEST_F(LostXServerTest, RequestThatFillsTheBufferRaisesNoSignal) {
  const auto connection = XConnection::open(server.display());
  ASSERT_NE(connection, nullptr);
  server.end();
  // Far more than xcb keeps back: it writes within a request.
  for (int count = 0; count < 10000; ++count) {
    connection->request(xcb_warp_pointer, XCB_NONE, connection->root(), 0, 0, 0, 0, 1, 1);
  }
  EXPECT_FALSE(connection->alive());
  EXPECT_FALSE(pipeSignalIsPending());
}

TEST_F(LostXServerTest, ObjectsOnItsConnectionAreDestroyedQuietly) {
  const auto connection = XConnection::open(server.display());
  ASSERT_NE(connection, nullptr);
  {
    XDamage damage{*connection};
    ASSERT_TRUE(damage.available());
    XGrabber grabber{*connection, *XPixelFormat::of(*connection)};
    ASSERT_EQ(grabber.grab({{{0, 0, 8, 8}}}).size(), 1U);
    server.end();
    EXPECT_TRUE(grabber.grab({{{0, 0, 8, 8}}}).empty());
    EXPECT_TRUE(damage.take().empty());
  }
  EXPECT_FALSE(pipeSignalIsPending());
}

}  // namespace
}  // namespace tessel::platform
