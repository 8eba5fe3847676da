#pragma once

#include <memory>
#include <optional>
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

/// Which half of a capture pipeline cannot be made.
enum class CaptureRefusal {
  kInput,   ///< there is no such screen, or it cannot be read
  kOutput,  ///< it cannot be delivered at that size
};

/// One desktop: its screens, its cursor, what is seen on it and the input that drives it. Any
/// thread.
class Desktop {
 public:
  virtual ~Desktop() = default;

  /// All screens, the primary one first; empty when there is none. Cheap enough for 40 calls a
  /// second.
  virtual std::vector<Screen> screens() = 0;

  /// Where the cursor is: global coordinates in points, bottom-left origin.
  virtual Point mouseLocation() = 0;

  /// A stopped pipeline that delivers the frames of `input`, in the form of `output`, to `delegate`
  /// on `queue`.
  virtual std::variant<std::shared_ptr<CaptureSession>, CaptureRefusal> makeCaptureSession(
      const CaptureInput& input, const CaptureOutput& output,
      const std::weak_ptr<CaptureOutputDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) = 0;

  /// Never null. Its events drive what this desktop shows and nothing else: where that cannot be,
  /// the poster makes no events.
  virtual std::unique_ptr<EventPoster> makeEventPoster() = 0;

  /// Why nothing of this desktop can be cast, as things are; none when it can.
  virtual std::optional<Obstacle> obstacle() = 0;

  /// What `diagnose()` tells of the first screen, and of the input.
  virtual Finding screenFinding() = 0;
  virtual Finding inputFinding() = 0;
};

/// The desktops that this machine has. Any thread.
class Desktops {
 public:
  virtual ~Desktops() = default;

  /// Chooses the desktop that `current` gives from now on; what is in its way is told, and does not
  /// keep it from being chosen. See tessel::selectScreenSource.
  virtual std::optional<Obstacle> select(ScreenSource source, Size patternSize) = 0;

  /// The desktop chosen; never null. Before the first choice, what ScreenSource::automatic gives.
  virtual std::shared_ptr<Desktop> current() = 0;
};

}  // namespace tessel::platform
