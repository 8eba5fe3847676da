#pragma once

#include <string>

#include "tessel/Error.h"

namespace tessel::apps {

/// One sentence for the user: why casting to `host` failed, and what to do about it.
std::string explain(const Error& error, const std::string& host);

}  // namespace tessel::apps
