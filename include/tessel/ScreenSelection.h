#pragma once

#include <optional>

#include "tessel/Export.h"
#include "tessel/Obstacle.h"
#include "tessel/Types.h"

namespace tessel {

/// What the computer's first screen is.
enum class ScreenSource {
  automatic,  ///< the desktop's screen, whatever this machine offers
  x11,        ///< the X11 screen that DISPLAY names
  pattern,    ///< a moving test picture with a frame counter; needs no display
};

/// Chooses what is cast, for the whole process. Call it before a session is made, since one takes
/// its size then; the default is `automatic`. The hub's mouse and keyboard drive this computer only
/// in a session that casts the X11 screen.
///
/// `patternSize` is the size of the test picture in points, at least 2 by 2; no other source looks
/// at it. Returns why the source cannot be cast from as things are (no display, or a desktop that
/// cannot be captured yet), and what the user may do about it. The choice holds even then: what is
/// in the way may go. Any thread; it may wait for the X server.
TESSEL_EXPORT std::optional<Obstacle> selectScreenSource(ScreenSource source,
                                                         Size patternSize = {1920, 1080});

}  // namespace tessel
