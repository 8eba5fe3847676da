#include "platform/linux/NoDesktop.h"

#include <utility>

#include "platform/Log.h"
#include "platform/base/NullEventPoster.h"

namespace tessel::platform {

NoDesktop::NoDesktop(Obstacle obstacle, Obstacle inputObstacle)
    : obstacle_{std::move(obstacle)}, inputObstacle_{std::move(inputObstacle)} {}

std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> NoDesktop::makeCaptureSession(
    const CaptureInput& /*input*/, const CaptureOutput& /*output*/,
    const std::weak_ptr<CaptureOutputDelegate>& /*delegate*/,
    const std::shared_ptr<SerialQueue>& /*queue*/) {
  return CaptureRefusal::kInput;
}

std::unique_ptr<EventPoster> NoDesktop::makeEventPoster() {
  log("%s: the hub's user cannot drive this computer: %s", "-[NoDesktop makeEventPoster]",
      inputObstacle_.sentence.c_str());
  return std::make_unique<NullEventPoster>();
}

Finding NoDesktop::screenFinding() { return unusable("screen", obstacle_); }

Finding NoDesktop::inputFinding() { return unusable("input", inputObstacle_); }

}  // namespace tessel::platform
