#pragma once

#include <optional>
#include <vector>

#include "tessel/Error.h"
#include "tessel/Screen.h"
#include "tessel/ScreenSelection.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// The computer's screens and its cursor. Any thread.
class Screens {
 public:
  virtual ~Screens() = default;

  /// Chooses the source of the first screen; an error says why it cannot be cast from.
  virtual std::optional<Error> select(ScreenSource source, Size patternSize) = 0;

  /// All screens, the primary one first; empty when there is none. Cheap enough for 40 calls a
  /// second.
  virtual std::vector<Screen> screens() = 0;

  /// Where the cursor is: global coordinates in points, bottom-left origin.
  virtual Point mouseLocation() = 0;
};

}  // namespace tessel::platform
