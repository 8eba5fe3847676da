#pragma once

#include <mutex>
#include <xcb/xcb.h>

namespace tessel::platform {

/// Connects to the X server that DISPLAY names, and tells the number of its screen. One at a time:
/// the library that looks for the server's cookie keeps the file's name in a static buffer. Any
/// thread.
inline xcb_connection_t* connectToXServer(int& screenNumber) {
  static std::mutex connecting;
  const std::lock_guard lock{connecting};
  return xcb_connect(nullptr, &screenNumber);
}

}  // namespace tessel::platform
