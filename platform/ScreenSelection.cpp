#include "tessel/ScreenSelection.h"

#include "platform/Services.h"

namespace tessel {

std::optional<Obstacle> selectScreenSource(ScreenSource source, Size patternSize) {
  return platform::services().desktops->select(source, patternSize);
}

}  // namespace tessel
