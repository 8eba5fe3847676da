#pragma once

#include "platform/Desktop.h"

namespace tessel::platform {

/// The desktop of a machine that has none to cast: gives the reason. Immutable; any thread.
class NoDesktop final : public Desktop {
 public:
  /// `obstacle`: why it cannot be cast. `inputObstacle`: why it cannot be driven.
  NoDesktop(Obstacle obstacle, Obstacle inputObstacle);

  std::vector<Screen> screens() override { return {}; }
  Point mouseLocation() override { return {}; }
  std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> makeCaptureSession(
      const CaptureInput& input, const CaptureOutput& output,
      const std::weak_ptr<CaptureOutputDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) override;
  std::unique_ptr<EventPoster> makeEventPoster() override;
  std::optional<Obstacle> obstacle() override { return obstacle_; }
  Finding screenFinding() override;
  Finding inputFinding() override;

 private:
  const Obstacle obstacle_;
  const Obstacle inputObstacle_;
};

}  // namespace tessel::platform
