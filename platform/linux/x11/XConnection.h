#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>
#include <xcb/xcb.h>

#include "platform/linux/x11/XConnect.h"
#include "platform/linux/x11/XWatch.h"

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

/// Whether an output of that name belongs to an X server that only stands in for a Wayland desktop.
bool isXwaylandOutput(std::string_view name);

/// A connection to an X server. One thread at a time, within a PipeSignalGuard. It stays usable as
/// an object when the server goes away: requests then have no effect and no reply. A server that
/// does not answer within kXServerPatience counts as gone, for good: what it says later is not
/// heard. To wait for it, use this class and nothing of the library that may wait itself.
class XConnection {
 public:
  /// To the server of this name, such as ":0"; null when it cannot be reached or does not answer.
  static std::unique_ptr<XConnection> open(const std::string& display);

  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;

  xcb_connection_t* get() const { return connection_.get(); }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }
  bool alive() const { return xcb_connection_has_error(get()) == 0; }

  /// Whether it was given up because the server did not answer: the server may still be there.
  bool silent() const { return watch_.expired(); }

  /// The reply to a request, by the function of xcb that waits for it; null without one.
  template <typename Reply, typename Cookie>
  XReply<Reply> reply(Reply* (*wait)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                      Cookie cookie) const {
    const XWatch::Wait bounded{watch_};
    xcb_generic_error_t* error = nullptr;
    XReply<Reply> reply{wait(get(), cookie, &error)};
    const XReply<xcb_generic_error_t> owned{error};
    if (reply) noteXServerAnswers(display_, true);
    return reply;
  }

  /// Whether a checked request without a reply was done.
  bool succeeded(xcb_void_cookie_t cookie) const;

  /// The next event that has come; null without one.
  XEvent event() const;

  /// Sends what has been asked for.
  void flush() const;

  /// Waits until the server has done all that was asked for. False when it does not.
  bool finish() const;

  /// For requests that may be sent before they are flushed, because there are many.
  XWatch::Wait bounded() const { return XWatch::Wait{watch_}; }

  /// Whether the server has an extension; `extension` as the libraries of xcb name it. No request
  /// of an extension may be made before this has been asked.
  bool has(xcb_extension_t& extension) const;

  /// Whether the server only stands in for a Wayland desktop, whose pixels it does not have.
  bool isXwayland() const;

  /// Asks for events that tell of changes of the layout.
  void watchLayout();
  bool tellsOfLayout(const xcb_generic_event_t& event) const;

  /// Two requests and one wait.
  XLayout layout() const;

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  XConnection(xcb_connection_t* connection, int screenNumber, std::string display);

  const std::string display_;
  const std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  mutable XWatch watch_;
  const xcb_screen_t* screen_ = nullptr;
  bool hasMonitors_ = false;     // RandR 1.5
  bool hasRandr_ = false;        // RandR 1.3 at least
  std::uint8_t randrEvent_ = 0;  // first event of RandR; 0 without it
};

}  // namespace tessel::platform
