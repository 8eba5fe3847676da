#pragma once

#include <optional>

#include "tessel/Error.h"
#include "tessel/Export.h"
#include "tessel/Types.h"

namespace tessel {

/// What the computer's first screen is.
enum class ScreenSource {
  automatic,  ///< the desktop's screen, whatever this machine offers
  x11,        ///< the X11 screen that DISPLAY names
  pattern,    ///< a moving test picture with a frame counter; needs no display
};

/// Chooses what is cast. Call it before a session is made; the default is `automatic`.
///
/// `patternSize` is the size of the test picture in points. Returns why the source cannot be cast
/// from, in a sentence for the user (no display, or a desktop that cannot be captured yet).
TESSEL_EXPORT std::optional<Error> selectScreenSource(ScreenSource source,
                                                      Size patternSize = {1920, 1080});

}  // namespace tessel
