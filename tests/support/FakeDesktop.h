#pragma once

#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "platform/Desktop.h"
#include "tests/support/FakeVideo.h"
#include "tests/support/RecordingPoster.h"

namespace tessel::test {

/// Screens and a cursor at places that the test sets.
struct FakeScreens {
  std::vector<Screen> list = {Screen{7, {{0, 0}, {1920, 1080}}}};
  Point mouse{960, 540};
};

/// The captures of a fake desktop: which it accepts, and those it has made.
struct FakeCaptures {
  bool inputAccepted = true;
  bool outputAccepted = true;
  std::vector<std::shared_ptr<FakeCaptureSession>> sessions;

  std::shared_ptr<FakeCaptureSession> last() const {
    return sessions.empty() ? nullptr : sessions.back();
  }
};

/// A desktop whose state and answers the test sets.
class FakeDesktop final : public platform::Desktop {
 public:
  FakeScreens placed;
  FakeCaptures captures;
  RecordingPosting posting;
  Finding screenFound{"screen", true, "A screen.", {}};
  Finding inputFound{"input", true, "Input.", {}};

  std::vector<Screen> screens() override { return placed.list; }
  Point mouseLocation() override { return placed.mouse; }
  std::variant<std::shared_ptr<platform::CaptureSession>, platform::CaptureRefusal>
  makeCaptureSession(const platform::CaptureInput& input, const platform::CaptureOutput& output,
                     const std::weak_ptr<platform::CaptureOutputDelegate>& delegate,
                     const std::shared_ptr<platform::SerialQueue>& queue) override {
    if (!captures.inputAccepted) return platform::CaptureRefusal::kInput;
    if (!captures.outputAccepted) return platform::CaptureRefusal::kOutput;
    auto session = std::make_shared<FakeCaptureSession>(input, output, delegate, queue);
    captures.sessions.push_back(session);
    return session;
  }
  std::unique_ptr<platform::EventPoster> makeEventPoster() override {
    return posting.makeEventPoster();
  }
  std::optional<Obstacle> obstacle() override { return std::nullopt; }
  Finding screenFinding() override { return screenFound; }
  Finding inputFinding() override { return inputFound; }
};

/// One desktop, whatever is chosen.
class FakeDesktops final : public platform::Desktops {
 public:
  const std::shared_ptr<FakeDesktop> desktop = std::make_shared<FakeDesktop>();

  std::optional<Obstacle> select(ScreenSource, Size) override { return std::nullopt; }
  std::shared_ptr<platform::Desktop> current() override { return desktop; }
};

}  // namespace tessel::test
