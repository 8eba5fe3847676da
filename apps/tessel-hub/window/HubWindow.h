#pragma once

#include <SDL.h>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "apps/common/ThreadChecker.h"
#include "apps/tessel-hub/video/HubScreen.h"
#include "apps/tessel-hub/window/WindowInput.h"
#include "apps/tessel-hub/window/WindowPainter.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {

/// A window that shows the newest picture and sends its mouse and keyboard to the sender.
///
/// Made, run and destroyed on the main thread. A process has one at most.
class HubWindow final : public HubScreen {
 public:
  struct Settings {
    std::string title;
    bool fullscreen = false;
    /// Whether the window's mouse and keyboard are sent.
    bool sendsInput = true;
  };

  /// Throws std::runtime_error, with the reason, if no window can be opened.
  explicit HubWindow(Settings settings);
  ~HubWindow() override;

  HubWindow(const HubWindow&) = delete;
  HubWindow& operator=(const HubWindow&) = delete;

  /// `route` takes the input; `closed` is called when the user closes the window. Before `run`.
  void connect(WindowInput::Route route, std::function<void()> closed);

  void run() override;
  void quit() override;
  void post(std::function<void()> task) override;
  void begin(int width, int height, const std::string& sender) override;
  void show(const Picture& picture, DoneHandler done) override;
  void moveCursor(int x, int y) override;
  void end() override;

 private:
  struct Library {
    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
  };
  struct Free {
    void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
  };
  struct Pending {
    Picture picture;
    DoneHandler done;
  };
  struct Session {
    int width = 0;
    int height = 0;
    std::string sender;
  };

  void wake();
  void handle(const SDL_Event& event);
  /// Does what other threads have left to do.
  void drain();
  void paint();
  void startSession(const Session& session);
  void endSession();
  void toggleFullscreen();

  const Settings settings_;

  platform::Mutex mutex_;
  std::deque<std::function<void()>> tasks_ TESSEL_GUARDED_BY(mutex_);
  std::optional<Pending> pending_ TESSEL_GUARDED_BY(mutex_);
  std::optional<SDL_Point> movedCursor_ TESSEL_GUARDED_BY(mutex_);
  bool woken_ TESSEL_GUARDED_BY(mutex_) = false;

  // Main thread.
  apps::ThreadChecker thread_;
  Library library_;
  std::unique_ptr<SDL_Window, Free> window_;
  WindowPainter painter_;
  WindowInput input_;
  WindowInput::Route route_;
  std::function<void()> closed_;
  Session session_;
  std::optional<SDL_Point> cursor_;
  bool running_ = true;
};

}  // namespace tessel::hub
