#pragma once

namespace tessel::apps {

/// Prints what of this machine the library can use. Returns the program's exit code: 0 when a
/// screen can be cast, else 1.
int runDoctor(bool json);

}  // namespace tessel::apps
