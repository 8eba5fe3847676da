#include "apps/tessel-hub/window/HubWindow.h"

#include <cassert>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tessel::hub {
namespace {

constexpr int kFirstWidth = 1280;
constexpr int kFirstHeight = 720;

SDL_Window* openWindow(const HubWindow::Settings& settings) {
  Uint32 flags = SDL_WINDOW_RESIZABLE;
  if (settings.fullscreen) flags |= SDL_WINDOW_FULLSCREEN_DESKTOP;
  SDL_Window* window = SDL_CreateWindow(settings.title.c_str(), SDL_WINDOWPOS_CENTERED,
                                        SDL_WINDOWPOS_CENTERED, kFirstWidth, kFirstHeight, flags);
  if (window == nullptr) throw std::runtime_error{SDL_GetError()};
  return window;
}

}  // namespace

HubWindow::Library::Library() {
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");  // the hub has its own
  SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "0");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) throw std::runtime_error{SDL_GetError()};
  // Without a display SDL falls back to a driver that renders to memory: costly and of no use.
  const std::string_view driver = SDL_GetCurrentVideoDriver();
  if (driver == "offscreen" && std::getenv("SDL_VIDEODRIVER") == nullptr) {
    SDL_Quit();
    throw std::runtime_error{"there is no display"};
  }
}

HubWindow::Library::~Library() { SDL_Quit(); }

HubWindow::HubWindow(Settings settings)
    : settings_{std::move(settings)}, window_{openWindow(settings_)}, painter_{window_.get()} {}

HubWindow::~HubWindow() = default;

void HubWindow::connect(WindowInput::Route route, std::function<void()> closed) {
  route_ = std::move(route);
  closed_ = std::move(closed);
}

void HubWindow::run() {
  assert(thread_.isCurrent());
  paint();
  SDL_Event event;
  while (running_ && SDL_WaitEvent(&event) != 0) {
    handle(event);
    while (SDL_PollEvent(&event) != 0) handle(event);
    drain();
  }
}

void HubWindow::handle(const SDL_Event& event) {
  if (event.type == SDL_QUIT) return closed_();
  switch (input_.take(event)) {
    case WindowInput::Command::kNone:
      break;
    case WindowInput::Command::kQuit:
      return closed_();
    case WindowInput::Command::kToggleFullscreen:
      return toggleFullscreen();
  }
  const bool repaint =
      event.type == SDL_WINDOWEVENT && (event.window.event == SDL_WINDOWEVENT_EXPOSED ||
                                        event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED);
  if (repaint) paint();
}

void HubWindow::drain() {
  platform::MutexLock lock{mutex_};
  woken_ = false;
  std::deque<std::function<void()>> tasks = std::exchange(tasks_, {});
  std::optional<Pending> pending = std::exchange(pending_, std::nullopt);
  const std::optional<SDL_Point> moved = std::exchange(movedCursor_, std::nullopt);
  lock.unlock();
  if (moved) {
    cursor_ = moved;
    SDL_ShowCursor(SDL_DISABLE);  // the sender's cursor is drawn instead
  }
  if (pending) painter_.setPicture(pending->picture);
  if (pending || moved) paint();
  if (pending) pending->done(true);
  // After the picture: a task may end the session, whose last picture it is.
  for (const std::function<void()>& task : tasks) task();
}

void HubWindow::paint() {
  assert(thread_.isCurrent());
  painter_.paint(cursor_, session_.width, session_.height);
  input_.setBox(painter_.box());
}

void HubWindow::startSession(const Session& session) {
  session_ = session;
  SDL_SetWindowTitle(window_.get(), (settings_.title + " - " + session.sender).c_str());
  if (settings_.sendsInput) input_.begin(session.width, session.height, route_);
  paint();
}

void HubWindow::endSession() {
  session_ = {};
  cursor_.reset();
  input_.end();
  painter_.clear();
  paint();
  SDL_ShowCursor(SDL_ENABLE);
  SDL_SetWindowTitle(window_.get(), settings_.title.c_str());
}

void HubWindow::toggleFullscreen() {
  const bool filled = (SDL_GetWindowFlags(window_.get()) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
  SDL_SetWindowFullscreen(window_.get(), filled ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
}

void HubWindow::wake() {
  {
    const platform::MutexLock lock{mutex_};
    if (std::exchange(woken_, true)) return;
  }
  SDL_Event event{};
  event.type = SDL_USEREVENT;
  if (SDL_PushEvent(&event) == 1) return;
  const platform::MutexLock lock{mutex_};
  woken_ = false;
}

void HubWindow::quit() {
  post([this] { running_ = false; });
}

void HubWindow::post(std::function<void()> task) {
  {
    const platform::MutexLock lock{mutex_};
    tasks_.push_back(std::move(task));
  }
  wake();
}

void HubWindow::begin(int width, int height, const std::string& sender) {
  post([this, session = Session{width, height, sender}] { startSession(session); });
}

void HubWindow::show(const Picture& picture, DoneHandler done) {
  platform::MutexLock lock{mutex_};
  const std::optional<Pending> replaced =
      std::exchange(pending_, Pending{picture, std::move(done)});
  lock.unlock();
  wake();
  if (replaced) replaced->done(false);
}

void HubWindow::moveCursor(int x, int y) {
  {
    const platform::MutexLock lock{mutex_};
    movedCursor_ = SDL_Point{x, y};
  }
  wake();
}

void HubWindow::end() {
  post([this] {
    platform::MutexLock lock{mutex_};
    const std::optional<Pending> replaced = std::exchange(pending_, std::nullopt);
    movedCursor_.reset();
    lock.unlock();
    endSession();
    if (replaced) replaced->done(false);
  });
}

}  // namespace tessel::hub
