#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/x11/XConnection.h"

namespace tessel::platform {

/// A connection to an X server that takes faked input, also while another client has grabbed the
/// server. One thread at a time. Once the server goes away, or does not
/// answer in time, every call does nothing.
class XTestDisplay {
 public:
  /// The display of this name. When it cannot be used: null, and the reason as a clause.
  static std::unique_ptr<XTestDisplay> open(const std::string& display, std::string& reason);

  bool alive() const { return connection_->alive(); }

  /// Whether the connection was given up because the server did not answer: the same server may
  /// answer another connection.
  bool silent() const { return connection_->silent(); }

  /// Where the first screen is: the primary monitor, or else the first one.
  PixelArea firstScreen();

  /// Whether the modifier that this key sets is on: for a lock key that is not held, whether its
  /// lock is. None when the server does not tell. `evdev` is a Linux input code.
  std::optional<bool> modifierIsOn(std::uint8_t evdev);

  /// @name What clients count clicks by
  /// @{
  /// The server's time in milliseconds, once it has done all that was asked for: that of the last
  /// faked event, or shortly after. None when the server does not answer.
  std::optional<std::uint32_t> time();
  /// Presses less than this apart are one row of clicks on this desktop.
  std::chrono::milliseconds doubleClickTime();
  /// @}

  /// @name Faked input; on its way after the next flush
  /// @{
  void moveTo(int x, int y);
  void button(std::uint8_t button, bool down);
  /// `evdev` is a Linux input code.
  void key(std::uint8_t evdev, bool down);
  /// @}
  void flush();
  /// Waits until the server has done all that, or is lost. A server that loses a client does not
  /// read what the client has sent before.
  void finish();

 private:
  explicit XTestDisplay(std::unique_ptr<XConnection> connection);

  void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y);
  void readEvents();

  const std::unique_ptr<XConnection> connection_;

  PixelArea firstScreen_;
  bool layoutChanged_ = true;
  std::chrono::steady_clock::time_point nextLayout_;

  xcb_window_t clockWindow_ = XCB_NONE;  // never shown; a change of a property of it tells the time
  std::optional<std::uint32_t> time_;
  std::chrono::milliseconds doubleClickTime_{};
  std::chrono::steady_clock::time_point nextSettings_;
};

}  // namespace tessel::platform
