#pragma once

#include <optional>

#include "platform/base/Synchronized.h"
#include "tessel/Error.h"
#include "tessel/ScreenSelection.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// What is cast: shared by the list of screens, the capture and those who post input. Any thread.
class ScreenChoice {
 public:
  enum class Kind {
    none,     ///< nothing of this machine can be cast
    x11,      ///< the X server that DISPLAY names
    pattern,  ///< the test picture
  };

  void choose(ScreenSource source, Size patternSize);

  /// What the choice comes to on this machine: looks at the desktop's environment variables.
  Kind kind() const;
  Size patternSize() const { return choice_.get().patternSize; }

  /// Why the choice comes to nothing, and what to do about it; none when it does not.
  std::optional<Error> obstacle();

  /// Takes in whether the X server that DISPLAY names only stands in for a Wayland desktop, which
  /// the variables do not tell where they have not been passed on (ssh, sudo). Until the next
  /// choice.
  void noteXwayland(bool isXwayland);

 private:
  struct Choice {
    ScreenSource source = ScreenSource::automatic;
    Size patternSize{1920, 1080};
  };

  bool isWayland() const;

  Synchronized<Choice> choice_;
  Synchronized<bool> isXwayland_;
};

/// Whether the desktop that this process belongs to is a Wayland one, as far as its variables tell.
bool isWaylandDesktop();

}  // namespace tessel::platform
