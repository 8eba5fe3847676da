#include "platform/linux/dbus/EventThread.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/Thread.h"

namespace tessel::platform {
namespace {

// The event thread that the calling thread is; null for all others.
thread_local const EventThread* currentThread = nullptr;

SdEvent makeEvent() {
  sd_event* event = nullptr;
  sd_event_new(&event);
  return SdEvent{event};
}

}  // namespace

EventThread::EventThread() : event_{makeEvent()}, wakeup_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
  sd_event_source* source = nullptr;
  sd_event_add_io(event_.get(), &source, wakeup_.get(), EPOLLIN, &EventThread::onWake, this);
  wakeSource_.reset(source);
}

EventThread::~EventThread() { stop(); }

void EventThread::start(const std::string& name) {
  if (!wakeSource_) return;  // nothing could end the thread again
  thread_ = startThread(name, [this] {
    currentThread = this;
    sd_event_loop(event_.get());
  });
}

void EventThread::stop() {
  if (!thread_.joinable()) return;
  {
    const MutexLock lock{mutex_};
    stopping_ = true;
  }
  wake();
  thread_.join();
}

void EventThread::post(std::function<void()> task) {
  {
    const MutexLock lock{mutex_};
    tasks_.push_back(std::move(task));
  }
  wake();
}

bool EventThread::isCurrent() const { return currentThread == this; }

void EventThread::wake() {
  const std::uint64_t one = 1;
  // Fails only at the count's limit, where the wake-up is pending anyway.
  [[maybe_unused]] const auto written = write(wakeup_.get(), &one, sizeof one);
}

int EventThread::onWake(sd_event_source*, int fd, std::uint32_t, void* self) {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = read(fd, &count, sizeof count);
  static_cast<EventThread*>(self)->runTasks();
  return 0;
}

void EventThread::runTasks() {
  for (;;) {
    std::function<void()> task;
    {
      const MutexLock lock{mutex_};
      if (stopping_) {
        sd_event_exit(event_.get(), 0);
        return;
      }
      if (tasks_.empty()) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

}  // namespace tessel::platform
