#include "platform/linux/ScreenChoice.h"

#include <string>
#include <string_view>

#include "platform/ScreenCapture.h"
#include "platform/linux/x11/XConnection.h"
#include "platform/posix/Environment.h"
#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {
namespace {

constexpr const char* kWayland =
    "Casting a Wayland desktop is not there yet: log in to an X11 session, or cast the test "
    "picture.";

Error obstacleBecause(std::string sentence) {
  return {kCaptureErrorDomain, kCaptureErrorUnknown, std::move(sentence)};
}

}  // namespace

bool isWaylandDesktop() {
  return *environment("WAYLAND_DISPLAY") != '\0' ||
         std::string_view{environment("XDG_SESSION_TYPE")} == "wayland";
}

void ScreenChoice::choose(ScreenSource source, Size patternSize) {
  choice_.set({source, patternSize});
  noteXwayland(false);
}

void ScreenChoice::noteXwayland(bool isXwayland) { isXwayland_.set(isXwayland); }

bool ScreenChoice::isWayland() const { return isWaylandDesktop() || isXwayland_.get(); }

ScreenChoice::Kind ScreenChoice::kind() const {
  switch (choice_.get().source) {
    case ScreenSource::pattern:
      return Kind::pattern;
    case ScreenSource::automatic:
      // The X server beside a Wayland desktop shows nothing but black.
      if (isWayland()) return Kind::none;
      [[fallthrough]];
    case ScreenSource::x11:
      return *environment("DISPLAY") == '\0' ? Kind::none : Kind::x11;
  }
  return Kind::none;
}

std::optional<Error> ScreenChoice::obstacle() {
  const Choice choice = choice_.get();
  if (choice.source == ScreenSource::pattern) {
    if (choice.patternSize.width >= 2 && choice.patternSize.height >= 2) return std::nullopt;
    return obstacleBecause("The test picture needs at least 2 by 2 pixels.");
  }
  const bool automatic = choice.source == ScreenSource::automatic;
  if (automatic && isWaylandDesktop()) return obstacleBecause(kWayland);
  const std::string display = environment("DISPLAY");
  if (display.empty()) {
    return obstacleBecause(
        "There is no display to cast (DISPLAY is not set): start from within an X11 session, or "
        "cast the test picture.");
  }
  const PipeSignalGuard guard;
  if (const auto connection = XConnection::open()) {
    noteXwayland(connection->isXwayland());
    if (automatic && isWayland()) return obstacleBecause(kWayland);
    return std::nullopt;
  }
  return obstacleBecause("The X server of display " + display +
                         " cannot be reached: check DISPLAY and XAUTHORITY, or cast the test "
                         "picture.");
}

}  // namespace tessel::platform
