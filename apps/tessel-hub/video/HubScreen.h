#pragma once

#include <functional>
#include <string>

#include "apps/tessel-hub/video/Picture.h"

namespace tessel::hub {

/// Shows pictures. Also runs the program's main loop, since a window belongs to the main thread.
class HubScreen {
 public:
  /// Called once for each picture: with true when it was shown, with false when a newer one
  /// replaced it before. On any thread; must not call back into the screen.
  using DoneHandler = std::function<void(bool shown)>;

  virtual ~HubScreen() = default;

  /// Runs until `quit`. Main thread.
  virtual void run() = 0;

  // Any thread may call what follows.
  virtual void quit() = 0;
  /// Runs `task` on the main thread.
  virtual void post(std::function<void()> task) = 0;
  /// A session of this size begins.
  virtual void begin(int width, int height, const std::string& sender) = 0;
  virtual void show(const Picture& picture, DoneHandler done) = 0;
  /// The sender's cursor is at this place of the session.
  virtual void moveCursor(int x, int y) = 0;
  /// The session is over.
  virtual void end() = 0;
};

}  // namespace tessel::hub
