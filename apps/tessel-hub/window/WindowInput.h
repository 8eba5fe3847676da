#pragma once

#include <SDL.h>
#include <functional>
#include <map>

#include "apps/common/ThreadChecker.h"
#include "apps/tessel-hub/channels/HubKey.h"
#include "apps/tessel-hub/channels/InputSender.h"
#include "apps/tessel-hub/window/Letterbox.h"

namespace tessel::hub {

/// Turns a window's mouse and keyboard events into input for the sender.
///
/// Main thread.
class WindowInput {
 public:
  /// Runs a task with the session's input, on that one's thread.
  using Route = std::function<void(std::function<void(InputSender&)>)>;

  /// What a key combination asks of the hub itself.
  enum class Command { kNone, kQuit, kToggleFullscreen };

  /// From now on input goes to a session of `width` by `height`.
  void begin(int width, int height, Route route);
  /// Input goes nowhere.
  void end();
  /// Where the picture is in the window.
  void setBox(const Letterbox& box) { box_ = box; }

  /// Sends what `event` means. Ctrl+Alt+Q and Ctrl+Alt+F are for the hub.
  Command take(const SDL_Event& event);

 private:
  Command takeKey(const SDL_KeyboardEvent& event);
  void takeButton(const SDL_MouseButtonEvent& event);
  void takeWheel(const SDL_MouseWheelEvent& event);
  void move(int windowX, int windowY);
  void releaseAll();

  Route route_;
  Letterbox box_;
  int width_ = 0;
  int height_ = 0;
  // What each held key was sent as: num lock may change while it is down.
  std::map<SDL_Scancode, HubKey> held_;
  apps::ThreadChecker thread_;
};

}  // namespace tessel::hub
