#pragma once

#include <chrono>
#include <string>
#include <xcb/xcb.h>

namespace tessel::platform {

/// How long an X server may leave a request without an answer before it is taken for gone. A server
/// that is only busy (another client's grab, a change of the mode) answers within it; and whoever
/// ends a cast waits for it once, which must not look like a program that hangs.
inline constexpr auto kXServerPatience = std::chrono::seconds{3};

/// The same for now: far less for a server that has just left somebody without an answer. Whoever
/// asks it over several connections, one after the other, waits in full once. Any thread.
std::chrono::milliseconds xServerPatience(const std::string& display);

/// Connects to the X server of `display`, and tells the number of its screen. The caller owns what
/// it gets, which may be a connection with an error. Null when the server takes the connection but
/// does not answer in time. From then on, until it does answer, further calls return null almost at
/// once. Any thread.
xcb_connection_t* connectToXServer(const std::string& display, int& screenNumber);

/// Tells whether the X server of `display` has answered a request in time. Any thread.
void noteXServerAnswers(const std::string& display, bool answers);

/// Whether the X server of `display` did not answer when it was last asked. Any thread.
bool isSilentXServer(const std::string& display);

}  // namespace tessel::platform
