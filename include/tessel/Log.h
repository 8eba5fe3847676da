#pragma once

#include <functional>
#include <string_view>

#include "tessel/Export.h"

namespace tessel {

/// Receives one log line. Its text has no line feed at its end, but for the few lines that were
/// written with one. Called from any thread, one line at a time.
using LogSink = std::function<void(std::string_view line)>;

/// Sends every log line to `sink` from now on; null restores the default, the system journal.
///
/// Lines that tell what somebody types (the key codes of the keyboard channel) reach only a sink
/// that the host has set, never the journal. A line that nobody receives is never formatted.
TESSEL_EXPORT void setLogSink(LogSink sink);

}  // namespace tessel
