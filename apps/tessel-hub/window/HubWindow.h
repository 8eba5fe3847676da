#pragma once

#include <SDL.h>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "apps/tessel-hub/video/HubScreen.h"
#include "apps/tessel-hub/window/WindowInput.h"
#include "apps/tessel-hub/window/WindowPainter.h"

namespace tessel::hub {

/// A window that shows the newest picture, and whose mouse and keyboard go to the sender.
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

  /// Throws std::runtime_error, with the reason, where there is no display to open a window on.
  explicit HubWindow(Settings settings);
  ~HubWindow() override;

  HubWindow(const HubWindow&) = delete;
  HubWindow& operator=(const HubWindow&) = delete;

  /// Where input goes, and what to do when the user closes the window. Before `run`.
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
  void take(const SDL_Event& event);
  void catchUp();
  void paint();
  void startSession(const Session& session);
  void endSession();
  void toggleFullscreen();

  const Settings settings_;

  std::mutex mutex_;
  // Guarded by mutex_.
  std::deque<std::function<void()>> tasks_;
  std::optional<Pending> pending_;
  std::optional<SDL_Point> movedCursor_;
  bool woken_ = false;

  // Main thread.
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
