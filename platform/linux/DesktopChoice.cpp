#include "platform/linux/DesktopChoice.h"

#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/NoDesktop.h"
#include "platform/linux/x11/X11Desktop.h"
#include "platform/media/PatternDesktop.h"
#include "platform/posix/Environment.h"

namespace tessel::platform {
namespace {

bool isWaylandSession() {
  return *environment("WAYLAND_DISPLAY") != '\0' ||
         std::string_view{environment("XDG_SESSION_TYPE")} == "wayland";
}

std::shared_ptr<Desktop> unsupportedWayland() {
  return std::make_shared<NoDesktop>(X11Desktop::waylandObstacle(),
                                     X11Desktop::waylandInputObstacle());
}

std::shared_ptr<Desktop> missingDisplay() {
  return std::make_shared<NoDesktop>(
      Obstacle{"There is no display to cast (DISPLAY is not set).",
               "Start from within an X11 session, or cast the test picture."},
      Obstacle{"The hub's mouse and keyboard cannot drive this desktop: there is no X display here "
               "(DISPLAY is not set).",
               "Run this within an X11 session whose server has the XTEST extension."});
}

}  // namespace

DesktopChoice::DesktopChoice(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock)
    : queues_{std::move(queues)}, clock_{std::move(clock)} {}

std::optional<Obstacle> DesktopChoice::select(ScreenSource source, Size patternSize) {
  auto chosen = make(source, patternSize);
  {
    const MutexLock lock{mutex_};
    current_ = chosen;
  }
  return chosen->obstacle();  // may wait for a display server
}

std::shared_ptr<Desktop> DesktopChoice::current() {
  const MutexLock lock{mutex_};
  if (!current_) current_ = make(ScreenSource::kAutomatic, {});
  return current_;
}

std::shared_ptr<Desktop> DesktopChoice::make(ScreenSource source, Size patternSize) const {
  if (source == ScreenSource::kPattern) {
    return std::make_shared<PatternDesktop>(patternSize, queues_, clock_);
  }
  const bool automatic = source == ScreenSource::kAutomatic;
  if (automatic && isWaylandSession()) return unsupportedWayland();
  const std::string display = environment("DISPLAY");
  if (display.empty()) return missingDisplay();
  return std::make_shared<X11Desktop>(
      display, automatic ? X11Desktop::Xwayland::kRefused : X11Desktop::Xwayland::kAccepted,
      clock_);
}

}  // namespace tessel::platform
