#include "apps/tessel-hub/window/HeadlessScreen.h"

#include <utility>

namespace tessel::hub {

void HeadlessScreen::run() {
  platform::MutexLock lock{mutex_};
  while (true) {
    while (!quit_ && tasks_.empty()) changed_.wait(lock.native());
    if (tasks_.empty()) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    lock.lock();
  }
}

void HeadlessScreen::quit() {
  const platform::MutexLock lock{mutex_};
  quit_ = true;
  changed_.notify_one();
}

void HeadlessScreen::post(std::function<void()> task) {
  const platform::MutexLock lock{mutex_};
  tasks_.push_back(std::move(task));
  changed_.notify_one();
}

}  // namespace tessel::hub
