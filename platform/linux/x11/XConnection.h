#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>
#include <xcb/xcb.h>

#include "platform/linux/x11/XConnect.h"
#include "platform/linux/x11/XWatch.h"
#include "platform/media/PixelArea.h"
#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {

struct FreeDelete {
  void operator()(void* memory) const { std::free(memory); }
};

/// A reply of the X server, freed by its holder.
template <typename T>
using XReply = std::unique_ptr<T, FreeDelete>;
using XEvent = XReply<xcb_generic_event_t>;

/// A monitor and its place in the root window.
struct XMonitor {
  std::uint32_t name = 0;  ///< unique among the monitors, the same for as long as it exists
  PixelArea area;
};

/// How the root window is divided.
struct XLayout {
  std::vector<XMonitor> monitors;  ///< the primary one first; empty when the server is gone
};

/// A connection to an X server. One thread at a time. All calls of xcb that may write or wait go
/// through it: each is bounded by a timeout, and none raises SIGPIPE on its thread, although xcb
/// writes without MSG_NOSIGNAL. A connection whose server has gone stays usable as an object:
/// requests then have no effect and no reply. So does one whose server has not answered within
/// kXServerTimeout, for good: what the server sends later is not read.
class XConnection {
 public:
  /// To the server of this name, such as ":0"; null when it cannot be reached or does not answer.
  static std::unique_ptr<XConnection> open(const std::string& display);

  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;

  const xcb_setup_t& setup() const { return *xcb_get_setup(get()); }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }

  /// Becomes readable when the server has sent something.
  int descriptor() const { return xcb_get_file_descriptor(get()); }

  bool alive() const { return xcb_connection_has_error(get()) == 0; }

  /// Whether it was given up because the server did not answer: the server may still be there.
  bool silent() const { return watch_.expired(); }

  /// Makes a request with a function of xcb; returns its cookie. It is sent with the next reply,
  /// check or `flush`, or when the buffer is full.
  template <typename Cookie, typename... Parameters>
  Cookie request(Cookie (*make)(xcb_connection_t*, Parameters...),
                 std::type_identity_t<Parameters>... arguments) const {
    const Call call{*this};
    return make(get(), arguments...);
  }

  /// The reply to a request, by the function of xcb that waits for it; null without one.
  template <typename Reply, typename Cookie>
  XReply<Reply> reply(Reply* (*wait)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                      Cookie cookie) const {
    const Call call{*this};
    xcb_generic_error_t* error = nullptr;
    XReply<Reply> reply{wait(get(), cookie, &error)};
    const XReply<xcb_generic_error_t> owned{error};
    if (reply) noteXServerAnswers(display_, true);
    return reply;
  }

  /// Whether a checked request without a reply was done.
  bool succeeded(xcb_void_cookie_t cookie) const;

  /// The next event that has arrived; null without one.
  XEvent event() const;

  /// Sends the requests made so far.
  void flush() const;

  /// Waits until the server has done all requests. False when it does not.
  bool finish() const;

  /// A new resource id.
  std::uint32_t generateID() const;

  /// Whether the server has an extension; `extension` as the libraries of xcb name it. Must be
  /// called before the first request of the extension.
  bool has(xcb_extension_t& extension) const;

  /// The number of an extension's first event; 0 without the extension.
  std::uint8_t firstEvent(xcb_extension_t& extension) const;

  /// Whether the server is Xwayland, which does not have the pixels of the desktop.
  bool isXwayland() const;

  /// Selects the events of layout changes.
  void watchLayout();
  bool isLayoutChange(const xcb_generic_event_t& event) const;

  /// Two requests and one wait.
  XLayout layout() const;

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  // Around every call of xcb that may write or wait.
  struct Call {
    explicit Call(const XConnection& connection) : wait{connection.watch_} {}
    const PipeSignalGuard guard;
    const XWatch::Wait wait;
  };

  XConnection(xcb_connection_t* connection, int screenNumber, std::string display);

  xcb_connection_t* get() const { return connection_.get(); }
  const xcb_query_extension_reply_t* extension(xcb_extension_t& extension) const;

  const std::string display_;
  const std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  mutable XWatch watch_;
  const xcb_screen_t* screen_ = nullptr;
  bool hasMonitors_ = false;     // RandR 1.5
  bool hasRandr_ = false;        // RandR 1.3 at least
  std::uint8_t randrEvent_ = 0;  // first event of RandR; 0 without it
};

}  // namespace tessel::platform
