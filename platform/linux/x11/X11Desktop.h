#pragma once

#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XScreens.h"
#include "platform/linux/x11/XTestDisplay.h"

namespace tessel::platform {

/// The desktop of an X server: monitors by RandR, frames by MIT-SHM and DAMAGE, input by XTEST. Any
/// thread; connects when it is first used.
class X11Desktop final : public Desktop {
 public:
  /// Whether to cast Xwayland, which does not have the pixels of its Wayland desktop. Where the
  /// environment variables of the desktop are missing (ssh, sudo), only the server itself shows it.
  enum class Xwayland { kRefused, kAccepted };

  X11Desktop(std::string display, Xwayland xwayland, std::shared_ptr<Clock> clock);

  /// Why a Wayland desktop is neither cast nor driven.
  static Obstacle waylandObstacle();
  static Obstacle waylandInputObstacle();

  std::vector<Screen> screens() override { return screens_.screens(); }
  Point mouseLocation() override { return screens_.mouseLocation(); }
  std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> makeCaptureSession(
      const CaptureInput& input, const CaptureOutput& output,
      const std::weak_ptr<CaptureOutputDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) override;
  std::unique_ptr<EventPoster> makeEventPoster() override;
  std::optional<Obstacle> obstacle() override;
  Finding screenFinding() override;
  Finding inputFinding() override;

 private:
  std::variant<std::unique_ptr<XConnection>, Obstacle> connect() const;
  std::variant<std::unique_ptr<XTestDisplay>, Obstacle> connectInput() const;
  std::variant<std::string, Obstacle> describeFirstScreen() const;

  const std::string display_;
  const Xwayland xwayland_;
  const std::shared_ptr<Clock> clock_;
  XScreens screens_;
};

}  // namespace tessel::platform
