#pragma once

#include <functional>
#include <string_view>

#include "tessel/Export.h"

namespace tessel {

/// Receives one log line. Its text has no line feed at its end, but for the few lines that were
/// written with one. Called from any thread, one line at a time, and while it runs every other
/// thread that logs waits. It must not throw. What it logs itself, by a call of the library, goes
/// nowhere; it may call `setLogSink`.
using LogSink = std::function<void(std::string_view line)>;

/// Sends every log line to `sink` from now on; null restores the default, the system journal.
///
/// Lines that reveal what the user types (the key codes of the keyboard channel) reach only a sink
/// that the host has set, never the journal. A line without a receiver is never formatted. Numbers
/// are in the C locale's form, whatever the host's locale.
TESSEL_EXPORT void setLogSink(LogSink sink);

}  // namespace tessel
