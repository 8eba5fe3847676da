#pragma once

#include <chrono>
#include <string>
#include <xcb/xcb.h>

namespace tessel::platform {

/// How long an X server may leave a request without an answer before its connection is given up.
/// A server that is only busy (another client's grab, a change of the mode) answers within it, and
/// the end of a cast, which waits for the server once, stays within it too.
inline constexpr auto kXServerTimeout = std::chrono::seconds{3};

/// The timeout to use now: far shorter for a server that has just timed out, so that several
/// connections asked one after the other wait in full once. Any thread.
std::chrono::milliseconds xServerTimeout(const std::string& display);

/// Connects to the X server of `display`, and returns the number of its screen in `screenNumber`.
/// The caller owns the connection, which may have an error. Null when the server accepts the
/// connection but does not answer in time. From then on, until it does answer, further calls return
/// null almost at once. Any thread.
xcb_connection_t* connectToXServer(const std::string& display, int& screenNumber);

/// Records whether the X server of `display` has answered a request in time. Any thread.
void noteXServerAnswers(const std::string& display, bool answers);

/// Whether the X server of `display` timed out when it was last asked. Any thread.
bool isSilentXServer(const std::string& display);

}  // namespace tessel::platform
