#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>
#include <xcb/xcb.h>

namespace tessel::platform {

struct FreeDelete {
  void operator()(void* memory) const { std::free(memory); }
};

/// A reply of the X server, freed by its holder.
template <typename T>
using XReply = std::unique_ptr<T, FreeDelete>;
using XEvent = XReply<xcb_generic_event_t>;

/// A rectangle of whole pixels, top-left origin.
struct PixelArea {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool empty() const { return width <= 0 || height <= 0; }
  int right() const { return x + width; }
  int bottom() const { return y + height; }
  std::int64_t pixels() const { return static_cast<std::int64_t>(width) * height; }
  bool operator==(const PixelArea&) const = default;
};

/// What both rectangles cover; empty when they do not meet.
PixelArea intersection(const PixelArea& a, const PixelArea& b);

/// A monitor and its place in the root window.
struct XMonitor {
  std::uint32_t name = 0;  ///< unique among the monitors, the same for as long as it exists
  PixelArea area;
  bool operator==(const XMonitor&) const = default;
};

/// How the root window is divided.
struct XLayout {
  PixelArea root;
  std::vector<XMonitor> monitors;  ///< the primary one first; empty when the server is gone
  bool operator==(const XLayout&) const = default;
};

/// A connection to an X server. One thread at a time, within a PipeSignalGuard. It stays usable as
/// an object when the server goes away: requests then have no effect and no reply.
class XConnection {
 public:
  /// To the server that DISPLAY names; null when it cannot be reached.
  static std::unique_ptr<XConnection> open();

  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;

  xcb_connection_t* get() const { return connection_.get(); }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }
  bool alive() const { return xcb_connection_has_error(get()) == 0; }

  /// Whether the server has an extension; `extension` as the libraries of xcb name it.
  bool has(xcb_extension_t& extension) const;

  /// Asks for events that tell of changes of the layout.
  void watchLayout();
  bool tellsOfLayout(const xcb_generic_event_t& event) const;

  /// Two requests and one wait.
  XLayout layout() const;

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  XConnection(xcb_connection_t* connection, int screenNumber);

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  const xcb_screen_t* screen_ = nullptr;
  bool hasMonitors_ = false;     // RandR 1.5
  std::uint8_t randrEvent_ = 0;  // first event of RandR; 0 without it
};

}  // namespace tessel::platform
