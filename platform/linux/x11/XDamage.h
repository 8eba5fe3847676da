#pragma once

#include <vector>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include "platform/linux/x11/XConnection.h"

namespace tessel::platform {

/// The changes of the root window that the DAMAGE extension reports. On the thread of its
/// connection, which outlives it.
class XDamage {
 public:
  explicit XDamage(XConnection& connection);
  ~XDamage();
  XDamage(const XDamage&) = delete;
  XDamage& operator=(const XDamage&) = delete;

  /// Whether the server has the extension.
  bool available() const { return damage_ != 0; }

  /// Handles an event of the connection.
  void handle(const xcb_generic_event_t& event);

  /// Whether a change since the last `take` is reported by the events handled so far.
  bool pending() const { return pending_; }

  /// The areas changed since the last call. Pixels read afterwards show at least these changes.
  std::vector<PixelArea> take();

 private:
  XConnection& connection_;
  xcb_damage_damage_t damage_ = 0;
  xcb_xfixes_region_t region_ = 0;
  std::uint8_t notifyEvent_ = 0;
  bool pending_ = false;
};

}  // namespace tessel::platform
