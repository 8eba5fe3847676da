#pragma once

#include <functional>
#include <string_view>
#include <thread>

namespace tessel::platform {

/// Starts a thread of the library's own: under `name`, cut to the 15 characters that the system has
/// room for, and with the host's signals blocked (see HostSignalsBlocked), SIGPIPE included.
/// Throws std::system_error when the system has no thread left.
std::thread startThread(std::string_view name, std::function<void()> run);

/// Whether startThread has started the calling thread.
bool isOwnThread();

}  // namespace tessel::platform
