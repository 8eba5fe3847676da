#pragma once

#include <string>

#include "tessel/Error.h"
#include "tessel/Finding.h"
#include "tessel/Obstacle.h"
#include "tessel/ScreenSelection.h"

namespace tessel::apps {

/// One sentence for the user: why casting to `host` failed, and what to do about it.
std::string explain(const Error& error, const std::string& host);

/// What to do about what is in the way of casting `source`; names the option of the test picture
/// where that is a remedy.
std::string advice(const Obstacle& obstacle, ScreenSource source);

/// What to do about a finding, with the same option; empty when nothing needs doing.
std::string advice(const Finding& finding);

}  // namespace tessel::apps
