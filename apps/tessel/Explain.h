#pragma once

#include <string>

#include "tessel/Error.h"

namespace tessel::apps {

/// One sentence for the user: why casting to `host` failed, and what to do about it.
std::string explain(const Error& error, const std::string& host);

/// A sentence of the library's for the user of this program: where it speaks of casting the test
/// picture, the option that does so is named.
std::string withOption(std::string sentence);

}  // namespace tessel::apps
