#pragma once

namespace tessel::platform {

/// Writes one line to the log, printf-style: to the host's sink, else to the system journal.
/// Numbers are formatted as in the C locale. Without a receiver the line is not formatted. Any
/// thread.
[[gnu::format(printf, 1, 2)]] void log(const char* format, ...);

/// The same for a line that reveals what the user types: it never goes to the journal.
[[gnu::format(printf, 1, 2)]] void logPrivate(const char* format, ...);

}  // namespace tessel::platform
