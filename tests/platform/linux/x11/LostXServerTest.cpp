#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>

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

  // Whether a signal of ours is left for the host.
  static bool pipeSignalIsPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
  }

  PrivateXServer server;
};

TEST_F(LostXServerTest, DesktopStaysUsableOnAThreadOfTheHost) {
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

// xcb polls before it writes, so a write fails only when the server dies between the two. This is
// that moment: the socket takes nothing more, and there is nothing to read yet.
class ClosedForWriting {
 public:
  explicit ClosedForWriting(const PrivateXServer& server)
      : connection{XConnection::open(server.display())} {
    server.suspend();
    shutdown(connection->descriptor(), SHUT_WR);
  }
  const std::unique_ptr<XConnection> connection;
};

TEST_F(LostXServerTest, FlushThatFailsRaisesNoSignal) {
  const ClosedForWriting closed{server};
  closed.connection->request(xcb_get_input_focus);
  closed.connection->flush();
  EXPECT_FALSE(closed.connection->alive());
  EXPECT_FALSE(pipeSignalIsPending());
}

TEST_F(LostXServerTest, ReplyWhoseRequestFailsRaisesNoSignal) {
  const ClosedForWriting closed{server};
  EXPECT_FALSE(closed.connection->finish());
  EXPECT_FALSE(closed.connection->alive());
  EXPECT_FALSE(pipeSignalIsPending());
}

TEST_F(LostXServerTest, CheckWhoseRequestFailsRaisesNoSignal) {
  const ClosedForWriting closed{server};
  const XConnection& connection = *closed.connection;
  EXPECT_FALSE(connection.succeeded(connection.request(xcb_no_operation_checked)));
  EXPECT_FALSE(connection.alive());
  EXPECT_FALSE(pipeSignalIsPending());
}

TEST_F(LostXServerTest, RequestThatFillsTheBufferRaisesNoSignal) {
  const ClosedForWriting closed{server};
  const XConnection& connection = *closed.connection;
  // Far more than xcb buffers: it writes within a request.
  for (int count = 0; count < 10000; ++count) {
    connection.request(xcb_warp_pointer, XCB_NONE, connection.root(), 0, 0, 0, 0, 1, 1);
  }
  EXPECT_FALSE(connection.alive());
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
