#pragma once

#include <string>

#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/linux/x11/XScreens.h"

namespace tessel::platform {

/// The desktop of an X server: monitors by RandR, frames by shared memory and DAMAGE, input by
/// XTEST. Any thread; connects when it is first asked.
class X11Desktop final : public Desktop {
 public:
  /// What becomes of a server that only stands in for a Wayland desktop, whose pixels it does not
  /// have: environment variables do not tell where they were not passed on (ssh, sudo).
  enum class Xwayland { kRefused, kAccepted };

  X11Desktop(std::string display, Xwayland xwayland, std::shared_ptr<Clock> clock);

  /// Why a Wayland desktop is not cast, and not driven.
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
  std::optional<Obstacle> inputObstacle() const;

  const std::string display_;
  const Xwayland xwayland_;
  const std::shared_ptr<Clock> clock_;
  XScreens screens_;
};

}  // namespace tessel::platform
