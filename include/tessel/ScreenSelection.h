#pragma once

#include <optional>

#include "tessel/Export.h"
#include "tessel/Obstacle.h"
#include "tessel/Types.h"

namespace tessel {

/// The desktop whose first screen is cast.
enum class ScreenSource {
  kAutomatic,  ///< the desktop of this login session
  kX11,        ///< the X11 display that DISPLAY names, Xwayland included
  kPattern,    ///< a moving test picture with a frame counter; needs no display
};

/// Chooses what is cast, for the whole process. Call it before a session is made, since a session
/// takes its size then; the default is `kAutomatic`. The environment (DISPLAY, WAYLAND_DISPLAY,
/// XDG_SESSION_TYPE) is read by this call. The hub's mouse and keyboard drive this computer only in
/// a session that casts an X11 screen.
///
/// `patternSize` is the size of the test picture in points, at least 2 by 2; other sources ignore
/// it. Returns why the source cannot be cast at present (no display, or one that cannot be
/// captured), and what the user may do about it. The choice holds even then: the obstacle may go
/// away. Any thread; it may wait for the X server.
TESSEL_EXPORT std::optional<Obstacle> selectScreenSource(ScreenSource source,
                                                         Size patternSize = {1920, 1080});

}  // namespace tessel
