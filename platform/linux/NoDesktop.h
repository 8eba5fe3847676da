#pragma once

#include "platform/Desktop.h"

namespace tessel::platform {

/// Stands in where nothing can be cast, and says why. Any thread; immutable.
class NoDesktop final : public Desktop {
 public:
  /// `inputObstacle`: why the hub's user cannot drive this computer.
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
