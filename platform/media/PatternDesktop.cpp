#include "platform/media/PatternDesktop.h"

#include <utility>

#include "platform/base/NullEventPoster.h"
#include "platform/media/PatternCaptureSession.h"

namespace tessel::platform {
namespace {

constexpr std::uint32_t kDisplayID = 1;

}  // namespace

PatternDesktop::PatternDesktop(Size size, std::shared_ptr<Queues> queues,
                               std::shared_ptr<Clock> clock)
    : size_{size}, queues_{std::move(queues)}, clock_{std::move(clock)} {}

std::vector<Screen> PatternDesktop::screens() { return {Screen{kDisplayID, {{0, 0}, size_}}}; }

Point PatternDesktop::mouseLocation() { return {size_.width / 2, size_.height / 2}; }

std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> PatternDesktop::makeCaptureSession(
    const CaptureInput& input, const CaptureOutput& output,
    const std::weak_ptr<CaptureOutputDelegate>& delegate,
    const std::shared_ptr<SerialQueue>& queue) {
  if (input.displayID != kDisplayID) return CaptureRefusal::kInput;
  if (output.size.width < 1 || output.size.height < 1) return CaptureRefusal::kOutput;
  return std::make_shared<PatternCaptureSession>(queues_, clock_, input, output, delegate, queue);
}

std::unique_ptr<EventPoster> PatternDesktop::makeEventPoster() {
  return std::make_unique<NullEventPoster>();
}

std::optional<Obstacle> PatternDesktop::obstacle() {
  if (size_.width >= 2 && size_.height >= 2) return std::nullopt;
  return Obstacle{"The test picture needs at least 2 by 2 pixels.", {}};
}

Finding PatternDesktop::screenFinding() {
  if (const auto obstacle = this->obstacle()) return unusable("screen", *obstacle);
  return {"screen", true, "The test picture.", {}};
}

Finding PatternDesktop::inputFinding() {
  return unusable("input",
                  {"The hub's mouse and keyboard do not drive this computer while the test "
                   "picture is cast.",
                   {}});
}

}  // namespace tessel::platform
