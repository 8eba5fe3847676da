#pragma once

#include <string>

#include "tessel/Error.h"

namespace tessel::platform {

/// An error as a log line shows it: domain, code and description.
std::string describe(const Error& error);

}  // namespace tessel::platform
