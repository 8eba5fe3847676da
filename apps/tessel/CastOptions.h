#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tessel/ScreenSelection.h"
#include "tessel/Types.h"

namespace tessel::apps {

/// The options of `tessel cast`.
struct CastOptions {
  std::string host;                ///< address or name
  std::optional<double> duration;  ///< seconds; none: until interrupted
  std::int64_t displayMode = 0;
  ScreenSource screen = ScreenSource::kAutomatic;
  Size patternSize{1920, 1080};
  bool stats = false;
  bool json = false;
};

}  // namespace tessel::apps
