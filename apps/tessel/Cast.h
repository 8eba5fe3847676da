#pragma once

#include "apps/common/EventLoop.h"
#include "apps/tessel/CastOptions.h"

namespace tessel::apps {

/// Casts until interrupted, until the duration has passed, or until the session ends. Returns the
/// program's exit code.
int runCast(EventLoop& loop, const CastOptions& options);

}  // namespace tessel::apps
