#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "apps/common/ThreadChecker.h"
#include "apps/tessel-hub/channels/ChannelStream.h"
#include "apps/tessel-hub/channels/HubKey.h"
#include "wire/MousePacket.h"

namespace tessel::hub {

enum class MouseButton { kLeft, kRight };

/// Sends the hub's mouse and keyboard to the session's sender. Keeps track of what is held down:
/// a repeated press is not sent, and `releaseAll` leaves nothing held.
///
/// Runs on its streams' thread.
class InputSender {
 public:
  /// Positions are in pixels of a session of this size.
  InputSender(int width, int height) : width_{width}, height_{height} {}

  /// The channel is open: records are sent to it from now on.
  void attachMouse(std::shared_ptr<ChannelStream> stream) { mouse_ = std::move(stream); }
  void attachKeyboard(std::shared_ptr<ChannelStream> stream) { keyboard_ = std::move(stream); }
  void detachMouse();
  void detachKeyboard();
  bool ready() const { return mouse_ && keyboard_; }

  /// A place outside the session counts as its nearest edge.
  void move(int x, int y);
  void button(MouseButton button, bool down);
  /// Above 0 turns away from the user, which scrolls up.
  void wheel(int lines);
  void key(HubKey key, bool down);

  /// Releases every key and button that is held.
  void releaseAll();

 private:
  void sendMouse(MouseCommand command, std::uint8_t lines = 0);

  const int width_;
  const int height_;
  std::shared_ptr<ChannelStream> mouse_;
  std::shared_ptr<ChannelStream> keyboard_;
  int x_ = 0;
  int y_ = 0;
  std::set<MouseButton> buttonsHeld_;
  std::set<HubKey> keysHeld_;
  apps::ThreadChecker thread_;
};

}  // namespace tessel::hub
