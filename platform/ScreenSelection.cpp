#include "tessel/ScreenSelection.h"

#include "platform/Services.h"

namespace tessel {

std::optional<Error> selectScreenSource(ScreenSource source, Size patternSize) {
  return platform::services().screens->select(source, patternSize);
}

}  // namespace tessel
