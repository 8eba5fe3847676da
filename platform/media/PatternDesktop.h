#pragma once

#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Queues.h"

namespace tessel::platform {

/// A desktop of one screen with the moving test picture; it cannot be driven. Any thread.
class PatternDesktop final : public Desktop {
 public:
  PatternDesktop(Size size, std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock);

  std::vector<Screen> screens() override;
  Point mouseLocation() override;
  std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> makeCaptureSession(
      const CaptureInput& input, const CaptureOutput& output,
      const std::weak_ptr<CaptureOutputDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) override;
  std::unique_ptr<EventPoster> makeEventPoster() override;
  std::optional<Obstacle> obstacle() override;
  Finding screenFinding() override;
  Finding inputFinding() override;

 private:
  const Size size_;
  const std::shared_ptr<Queues> queues_;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace tessel::platform
