#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/EventPoster.h"
#include "platform/ScreenCapture.h"
#include "tessel/Finding.h"
#include "tessel/Obstacle.h"
#include "tessel/Screen.h"
#include "tessel/ScreenSelection.h"
#include "tessel/Types.h"

namespace tessel::platform {

class SerialQueue;

/// Which half of a capture pipeline cannot be assembled.
enum class CaptureRefusal {
  kInput,   ///< there is no such screen, or its pixels cannot be read or converted
  kOutput,  ///< it cannot be delivered at that size
};

/// The finding of a part that cannot be used.
inline Finding unusable(std::string area, Obstacle obstacle) {
  return {std::move(area), false, std::move(obstacle.sentence), std::move(obstacle.advice)};
}

/// One desktop: its screens, its cursor, the capture of its picture and the posting of its input.
/// Any thread; every call but `mouseLocation` and `screens` may wait for a display server.
class Desktop {
 public:
  virtual ~Desktop() = default;

  /// All screens, the primary one first; empty when there is none. Cheap enough for 40 calls per
  /// second.
  virtual std::vector<Screen> screens() = 0;

  /// The cursor's position: global coordinates in points, bottom-left origin.
  virtual Point mouseLocation() = 0;

  /// A stopped pipeline that delivers the frames of `input`, scaled to `output`, to `delegate` on
  /// `queue`. A pipeline that is made can capture: one that cannot is refused here.
  virtual std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> makeCaptureSession(
      const CaptureInput& input, const CaptureOutput& output,
      const std::weak_ptr<CaptureOutputDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) = 0;

  /// Never null. Its events drive this desktop and no other; where that is impossible, the poster
  /// makes no events.
  virtual std::unique_ptr<EventPoster> makeEventPoster() = 0;

  /// Why the first screen cannot be cast at present; none when it can.
  virtual std::optional<Obstacle> obstacle() = 0;

  /// What `diagnose()` reports on the first screen, and on the input.
  virtual Finding screenFinding() = 0;
  virtual Finding inputFinding() = 0;
};

/// The desktops of this machine. Any thread.
class Desktops {
 public:
  virtual ~Desktops() = default;

  /// Chooses the desktop that `current` returns from now on, and returns its obstacle; the choice
  /// holds in spite of one. See tessel::selectScreenSource.
  virtual std::optional<Obstacle> select(ScreenSource source, Size patternSize) = 0;

  /// The desktop chosen; never null. Before the first choice, that of ScreenSource::kAutomatic.
  virtual std::shared_ptr<Desktop> current() = 0;
};

}  // namespace tessel::platform
