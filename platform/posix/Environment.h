#pragma once

namespace tessel::platform {

/// The value of an environment variable; empty when it is not set. Only on a thread that the host
/// calls from, never on one of the library's own: getenv races a host that changes its environment.
const char* environment(const char* name);

}  // namespace tessel::platform
