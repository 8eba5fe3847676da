#pragma once

#include <string>

#include "tessel/Error.h"
#include "tessel/Finding.h"
#include "tessel/Obstacle.h"
#include "tessel/ScreenSelection.h"

namespace tessel::apps {

/// One sentence for the user: why casting to `host` failed, and what to do about it.
std::string explain(const Error& error, const std::string& host);

/// Why `source` cannot be cast, and what to do about it; names the option of the test picture where
/// that is a remedy.
std::string explain(const Obstacle& obstacle, ScreenSource source);

/// What to do about a finding, with the same option; empty when nothing needs doing.
std::string advice(const Finding& finding);

}  // namespace tessel::apps
