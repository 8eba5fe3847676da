#pragma once

namespace tessel::platform {

/// The value of an environment variable; empty when it is not set. On the thread that a host calls
/// from, never on one of the library's own: the host may change its environment meanwhile.
const char* environment(const char* name);

}  // namespace tessel::platform
