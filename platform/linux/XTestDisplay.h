#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <xcb/xcb.h>

namespace tessel::platform {

/// A connection to an X server that takes faked input. One thread at a time. A server that goes
/// away makes every call do nothing.
class XTestDisplay {
 public:
  /// A part of the root window, in pixels.
  struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };

  /// The display that DISPLAY names; null, with the reason as a sentence, when it cannot be used.
  static std::unique_ptr<XTestDisplay> open(std::string& reason);
  ~XTestDisplay();
  XTestDisplay(const XTestDisplay&) = delete;
  XTestDisplay& operator=(const XTestDisplay&) = delete;

  bool alive() const { return xcb_connection_has_error(connection_.get()) == 0; }

  /// Where the first screen is: the primary monitor, or else the first one.
  Area firstScreen();

  /// @name Faked input; on its way after the next flush
  /// @{
  void moveTo(int x, int y);
  void button(std::uint8_t button, bool down);
  /// `evdev` is a Linux input code.
  void key(std::uint8_t evdev, bool down);
  /// @}
  void flush();

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };
  using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

  XTestDisplay(Connection connection, const xcb_screen_t& screen);

  void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y);
  void readEvents();
  void watchMonitors();
  Area readFirstScreen();

  const Connection connection_;
  const xcb_window_t root_;
  Area firstScreen_;
  bool monitorsKnown_ = false;      ///< whether the server can tell its monitors
  std::uint8_t monitorEvents_ = 0;  ///< number of the first event about them
  bool monitorsChanged_ = false;
};

}  // namespace tessel::platform
