#include "platform/linux/x11/X11Desktop.h"

#include <algorithm>
#include <utility>

#include "platform/Log.h"
#include "platform/base/NullEventPoster.h"
#include "platform/linux/x11/XCaptureSession.h"
#include "platform/linux/x11/XDamage.h"
#include "platform/linux/x11/XGrabber.h"
#include "platform/linux/x11/XPixelFormat.h"
#include "platform/linux/x11/XTestPoster.h"

namespace tessel::platform {
namespace {

// The first pixel of a monitor stands for all of them.
bool isReadable(XGrabber& grabber, const PixelArea& monitor) {
  return !grabber.grab({{{monitor.x, monitor.y, 1, 1}}}).empty();
}

bool canCapture(XConnection& connection, std::uint32_t monitorName) {
  const XLayout layout = connection.layout();
  const auto monitor = std::ranges::find(layout.monitors, monitorName, &XMonitor::name);
  const std::optional<XPixelFormat> format = XPixelFormat::of(connection);
  if (monitor == layout.monitors.end() || !format) return false;
  XGrabber grabber{connection, *format};
  return isReadable(grabber, monitor->area);
}

}  // namespace

X11Desktop::X11Desktop(std::string display, Xwayland xwayland, std::shared_ptr<Clock> clock)
    : display_{std::move(display)},
      xwayland_{xwayland},
      clock_{std::move(clock)},
      screens_{display_, xwayland == Xwayland::kAccepted} {}

Obstacle X11Desktop::waylandObstacle() {
  return {"Casting a Wayland desktop is not supported yet.",
          "Log in to an X11 session, or cast the test picture."};
}

Obstacle X11Desktop::waylandInputObstacle() {
  return {"This is a Wayland desktop, which the hub's mouse and keyboard cannot drive yet.",
          "Log in to an X11 session."};
}

std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> X11Desktop::makeCaptureSession(
    const CaptureInput& input, const CaptureOutput& output,
    const std::weak_ptr<CaptureOutputDelegate>& delegate,
    const std::shared_ptr<SerialQueue>& queue) {
  const auto connected = connect();
  const auto* const connection = std::get_if<std::unique_ptr<XConnection>>(&connected);
  if (connection == nullptr || !canCapture(**connection, input.displayID)) {
    return CaptureRefusal::kInput;
  }
  if (output.size.width < 1 || output.size.height < 1) return CaptureRefusal::kOutput;
  return std::make_shared<XCaptureSession>(display_, input, output, delegate, queue, clock_);
}

std::unique_ptr<EventPoster> X11Desktop::makeEventPoster() {
  auto connected = connectInput();
  if (const auto* const obstacle = std::get_if<Obstacle>(&connected)) {
    log("%s: the hub's user cannot drive this computer: %s", "-[X11Desktop makeEventPoster]",
        obstacle->sentence.c_str());
    return std::make_unique<NullEventPoster>();
  }
  return std::make_unique<XTestPoster>(
      display_, std::get<std::unique_ptr<XTestDisplay>>(std::move(connected)));
}

std::optional<Obstacle> X11Desktop::obstacle() {
  auto described = describeFirstScreen();
  if (auto* const obstacle = std::get_if<Obstacle>(&described)) return std::move(*obstacle);
  return std::nullopt;
}

Finding X11Desktop::screenFinding() {
  const auto described = describeFirstScreen();
  if (const auto* const obstacle = std::get_if<Obstacle>(&described)) {
    return unusable("screen", *obstacle);
  }
  return {"screen", true, std::get<std::string>(described), {}};
}

Finding X11Desktop::inputFinding() {
  const auto connected = connectInput();
  if (const auto* const obstacle = std::get_if<Obstacle>(&connected)) {
    return unusable("input", *obstacle);
  }
  return {"input", true, "The hub's mouse and keyboard can drive this desktop (XTEST).", {}};
}

// A connection to a server whose screens are those of the desktop, or why there is none.
std::variant<std::unique_ptr<XConnection>, Obstacle> X11Desktop::connect() const {
  auto connection = XConnection::open(display_);
  if (!connection) {
    return Obstacle{"The X server of display " + display_ + " cannot be reached.",
                    "Check DISPLAY and XAUTHORITY, or cast the test picture."};
  }
  if (xwayland_ == Xwayland::kRefused && connection->isXwayland()) return waylandObstacle();
  return connection;
}

std::variant<std::unique_ptr<XTestDisplay>, Obstacle> X11Desktop::connectInput() const {
  if (xwayland_ == Xwayland::kRefused) {
    const auto connection = XConnection::open(display_);
    if (connection && connection->isXwayland()) return waylandInputObstacle();
  }
  std::string reason;
  if (auto display = XTestDisplay::open(display_, reason)) return display;
  return Obstacle{"The hub's mouse and keyboard cannot drive this desktop: " + reason + ".",
                  "Run this within an X11 session whose server has the XTEST extension."};
}

// What the first screen is and how it is captured, or why it cannot be.
std::variant<std::string, Obstacle> X11Desktop::describeFirstScreen() const {
  const auto connected = connect();
  if (const auto* const obstacle = std::get_if<Obstacle>(&connected)) return *obstacle;
  XConnection& connection = *std::get<std::unique_ptr<XConnection>>(connected);

  const std::string server = "The X server of display " + display_;
  const XLayout layout = connection.layout();
  if (layout.monitors.empty()) {
    return Obstacle{server + " has no screen.", "Connect a monitor, or cast the test picture."};
  }
  const std::optional<XPixelFormat> format = XPixelFormat::of(connection);
  if (!format) {
    return Obstacle{server + " has a pixel format that cannot be captured.",
                    "Set the screen to a colour depth of 24 bits, or cast the test picture."};
  }
  XGrabber grabber{connection, *format};
  const PixelArea& first = layout.monitors.front().area;
  if (!isReadable(grabber, first)) {
    return Obstacle{server + " does not let its screen be read.",
                    "Log in to an X11 session of this user, or cast the test picture."};
  }
  return "X11 display " + display_ + ", first screen " + std::to_string(first.width) + "x" +
         std::to_string(first.height) + " of " + std::to_string(layout.monitors.size()) +
         (grabber.sharesMemory() ? ", shared memory" : ", no shared memory (slower)") +
         (XDamage{connection}.available() ? ", changes are reported."
                                          : ", changes are looked for (slower).");
}

}  // namespace tessel::platform
