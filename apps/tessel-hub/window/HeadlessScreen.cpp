#include "apps/tessel-hub/window/HeadlessScreen.h"

#include <utility>

namespace tessel::hub {

void HeadlessScreen::run() {
  std::unique_lock lock{mutex_};
  while (true) {
    changed_.wait(lock, [this] { return quit_ || !tasks_.empty(); });
    if (tasks_.empty()) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    lock.lock();
  }
}

void HeadlessScreen::quit() {
  const std::lock_guard lock{mutex_};
  quit_ = true;
  changed_.notify_one();
}

void HeadlessScreen::post(std::function<void()> task) {
  const std::lock_guard lock{mutex_};
  tasks_.push_back(std::move(task));
  changed_.notify_one();
}

}  // namespace tessel::hub
