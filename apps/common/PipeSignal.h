#pragma once

namespace tessel::apps {

/// Blocks SIGPIPE, so that a write to a pipe or a socket without a reader fails instead of ending
/// the program. Call it first in main(), while the process has one thread: threads inherit it.
void blockPipeSignal();

}  // namespace tessel::apps
