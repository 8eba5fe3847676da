#include <string>

#include "platform/linux/Findings.h"
#include "platform/linux/ScreenChoice.h"
#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XTestDisplay.h"
#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {

Finding findInput() {
  // An X server beside a Wayland desktop takes faked input, for its own few clients.
  const PipeSignalGuard guard;
  const auto isXwayland = [] {
    const auto connection = XConnection::open();
    return connection && connection->isXwayland();
  };
  if (isWaylandDesktop() || isXwayland()) {
    return {"input", false,
            "This is a Wayland desktop, which the hub's mouse and keyboard cannot drive yet.",
            "Log in to an X11 session."};
  }
  std::string reason;
  if (!XTestDisplay::open(reason)) {
    return {"input", false,
            "The hub's mouse and keyboard cannot drive this desktop: " + reason + ".",
            "Run this within an X11 session whose server has the XTEST extension."};
  }
  return {"input", true, "The hub's mouse and keyboard can drive this desktop (XTEST).", {}};
}

}  // namespace tessel::platform
