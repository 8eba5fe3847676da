#include <cctype>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/Findings.h"
#include "platform/linux/ScreenChoice.h"
#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XDamage.h"
#include "platform/linux/x11/XGrabber.h"
#include "platform/linux/x11/XPixelFormat.h"
#include "platform/posix/Environment.h"
#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {
namespace {

std::string sizeText(const PixelArea& area) {
  return std::to_string(area.width) + "x" + std::to_string(area.height);
}

// What the capture makes of an X server that answers.
Finding inspect(XConnection& connection) {
  Finding finding{"screen", false, {}, {}};
  const std::string display = environment("DISPLAY");
  const XLayout layout = connection.layout();
  if (layout.monitors.empty()) {
    finding.sentence = "The X server of display " + display + " has no screen.";
    finding.advice = "Connect a monitor, or cast the test picture.";
    return finding;
  }
  const std::optional<XPixelFormat> format = XPixelFormat::of(connection);
  if (!format) {
    finding.sentence = "The X server of display " + display + " has pixels of an unknown kind.";
    finding.advice = "Set the screen to a colour depth of 24 bits.";
    return finding;
  }
  XGrabber grabber{connection, *format};
  finding.usable = !grabber.grab({{layout.monitors.front().area}}).empty();
  if (!finding.usable) {
    finding.sentence = "The X server of display " + display + " does not let its screen be read.";
    finding.advice = "Log in to an X11 session of this user.";
    return finding;
  }
  finding.sentence = "X11 display " + display + ", first screen " +
                     sizeText(layout.monitors.front().area) + " of " +
                     std::to_string(layout.monitors.size());
  finding.sentence += grabber.sharesMemory() ? ", shared memory" : ", no shared memory (slower)";
  finding.sentence += XDamage{connection}.available() ? ", changes are reported."
                                                      : ", changes are looked for (slower).";
  return finding;
}

}  // namespace

Finding findScreen() {
  if (const std::optional<Error> obstacle = ScreenChoice{}.obstacle()) {
    // The sentence names the fault before its colon and the remedy behind it.
    const std::string& text = obstacle->localizedDescription;
    const std::size_t colon = text.rfind(": ");
    Finding finding{"screen", false, text, {}};
    if (colon != std::string::npos) {
      finding.sentence = text.substr(0, colon) + ".";
      finding.advice = text.substr(colon + 2);
      finding.advice.front() =
          static_cast<char>(std::toupper(static_cast<unsigned char>(finding.advice.front())));
    }
    return finding;
  }
  const PipeSignalGuard guard;
  const std::unique_ptr<XConnection> connection = XConnection::open();
  if (connection) return inspect(*connection);
  return {"screen", false, "The X server has just gone.", "Try again."};
}

}  // namespace tessel::platform
