#include "platform/linux/x11/X11Desktop.h"

#include <algorithm>
#include <utility>

#include "platform/Log.h"
#include "platform/base/NullEventPoster.h"
#include "platform/linux/x11/XCaptureSession.h"
#include "platform/linux/x11/XDamage.h"
#include "platform/linux/x11/XGrabber.h"
#include "platform/linux/x11/XPixelFormat.h"
#include "platform/linux/x11/XTestDisplay.h"
#include "platform/linux/x11/XTestPoster.h"
#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {
namespace {

std::string sizeText(const PixelArea& area) {
  return std::to_string(area.width) + "x" + std::to_string(area.height);
}

// What the capture makes of a server that answers.
Finding inspect(XConnection& connection, const std::string& display) {
  const std::string server = "The X server of display " + display;
  const XLayout layout = connection.layout();
  if (layout.monitors.empty()) {
    return {"screen", false, server + " has no screen.",
            "Connect a monitor, or cast the test picture."};
  }
  const std::optional<XPixelFormat> format = XPixelFormat::of(connection);
  if (!format) {
    return {"screen", false, server + " has pixels of an unknown kind.",
            "Set the screen to a colour depth of 24 bits."};
  }
  XGrabber grabber{connection, *format};
  if (grabber.grab({{layout.monitors.front().area}}).empty()) {
    return {"screen", false, server + " does not let its screen be read.",
            "Log in to an X11 session of this user."};
  }
  std::string sentence = "X11 display " + display + ", first screen " +
                         sizeText(layout.monitors.front().area) + " of " +
                         std::to_string(layout.monitors.size());
  sentence += grabber.sharesMemory() ? ", shared memory" : ", no shared memory (slower)";
  sentence += XDamage{connection}.available() ? ", changes are reported."
                                              : ", changes are looked for (slower).";
  return {"screen", true, sentence, {}};
}

}  // namespace

X11Desktop::X11Desktop(std::string display, Xwayland xwayland, std::shared_ptr<Clock> clock)
    : display_{std::move(display)},
      xwayland_{xwayland},
      clock_{std::move(clock)},
      screens_{display_, xwayland == Xwayland::kAccepted} {}

Obstacle X11Desktop::waylandObstacle() {
  return {"Casting a Wayland desktop is not there yet.",
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
  const std::vector<Screen> list = screens();
  if (std::ranges::find(list, input.displayID, &Screen::tsl_screenNumber) == list.end()) {
    return CaptureRefusal::kInput;
  }
  if (output.size.width < 1 || output.size.height < 1) return CaptureRefusal::kOutput;
  return std::make_shared<XCaptureSession>(display_, input, output, delegate, queue, clock_);
}

std::unique_ptr<EventPoster> X11Desktop::makeEventPoster() {
  const PipeSignalGuard guard;
  if (const auto obstacle = inputObstacle()) {
    log("%s: the hub's user cannot drive this computer: %s", "-[X11Desktop makeEventPoster]",
        obstacle->sentence.c_str());
    return std::make_unique<NullEventPoster>();
  }
  std::string reason;
  auto display = XTestDisplay::open(display_, reason);
  if (!display) return std::make_unique<NullEventPoster>();
  return std::make_unique<XTestPoster>(display_, std::move(display));
}

std::optional<Obstacle> X11Desktop::obstacle() {
  const PipeSignalGuard guard;
  const auto connection = XConnection::open(display_);
  if (!connection) {
    return Obstacle{"The X server of display " + display_ + " cannot be reached.",
                    "Check DISPLAY and XAUTHORITY, or cast the test picture."};
  }
  if (xwayland_ == Xwayland::kRefused && connection->isXwayland()) return waylandObstacle();
  return std::nullopt;
}

std::optional<Obstacle> X11Desktop::inputObstacle() const {
  if (xwayland_ == Xwayland::kRefused) {
    const auto connection = XConnection::open(display_);
    if (connection && connection->isXwayland()) return waylandInputObstacle();
  }
  std::string reason;
  if (XTestDisplay::open(display_, reason)) return std::nullopt;
  return Obstacle{"The hub's mouse and keyboard cannot drive this desktop: " + reason + ".",
                  "Run this within an X11 session whose server has the XTEST extension."};
}

Finding X11Desktop::screenFinding() {
  if (const auto obstacle = this->obstacle()) {
    return {"screen", false, obstacle->sentence, obstacle->advice};
  }
  const PipeSignalGuard guard;
  const auto connection = XConnection::open(display_);
  if (connection) return inspect(*connection, display_);
  return {"screen", false, "The X server has just gone.", "Try again."};
}

Finding X11Desktop::inputFinding() {
  const PipeSignalGuard guard;
  if (const auto obstacle = inputObstacle()) {
    return {"input", false, obstacle->sentence, obstacle->advice};
  }
  return {"input", true, "The hub's mouse and keyboard can drive this desktop (XTEST).", {}};
}

}  // namespace tessel::platform
