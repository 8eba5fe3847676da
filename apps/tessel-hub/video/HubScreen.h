#pragma once

#include <functional>
#include <string>

#include "apps/tessel-hub/video/Picture.h"

namespace tessel::hub {

/// Where pictures are shown. Also the program's main loop, since a window has to live on the main
/// thread.
class HubScreen {
 public:
  /// Called once a picture's time is over: true when it was shown, false when a newer one took its
  /// place before. From any thread; must not call back into the screen.
  using DoneHandler = std::function<void(bool shown)>;

  virtual ~HubScreen() = default;

  /// Runs until `quit`. Main thread.
  virtual void run() = 0;

  // Any thread, from here on.
  virtual void quit() = 0;
  /// Runs `task` on the main thread.
  virtual void post(std::function<void()> task) = 0;
  /// A session of this size begins.
  virtual void begin(int width, int height, const std::string& sender) = 0;
  virtual void show(const Picture& picture, DoneHandler done) = 0;
  /// The sender's cursor stands at this place of the session.
  virtual void moveCursor(int x, int y) = 0;
  /// The session is over.
  virtual void end() = 0;
};

}  // namespace tessel::hub
