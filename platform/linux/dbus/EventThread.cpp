#include "platform/linux/dbus/EventThread.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/HostSignals.h"

namespace tessel::platform {
namespace {

SdEvent makeEvent() {
  sd_event* event = nullptr;
  sd_event_new(&event);
  return SdEvent{event};
}

}  // namespace

EventThread::EventThread() : event_{makeEvent()}, wakeup_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
  sd_event_source* source = nullptr;
  sd_event_add_io(event_.get(), &source, wakeup_, EPOLLIN, &EventThread::onWake, this);
  wakeSource_.reset(source);
}

EventThread::~EventThread() {
  stop();
  wakeSource_.reset();
  close(wakeup_);
}

void EventThread::start(const std::string& name) {
  if (!wakeSource_) return;  // nothing could end the thread again
  const HostSignalsBlocked inherited;
  thread_ = std::thread{[this, name] {
    pthread_setname_np(pthread_self(), name.c_str());
    sd_event_loop(event_.get());
  }};
}

void EventThread::stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock{mutex_};
    stopping_ = true;
  }
  wake();
  thread_.join();
}

void EventThread::post(std::function<void()> task) {
  {
    const std::lock_guard lock{mutex_};
    tasks_.push_back(std::move(task));
  }
  wake();
}

void EventThread::wake() {
  const std::uint64_t one = 1;
  // It fails only when the count is at its limit, and then the thread is awake anyway.
  [[maybe_unused]] const auto written = write(wakeup_, &one, sizeof one);
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
      const std::lock_guard lock{mutex_};
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

OneShotTimer::OneShotTimer(EventThread& thread, std::function<void()> handler)
    : thread_{thread}, handler_{std::move(handler)} {}

void OneShotTimer::arm(std::chrono::microseconds wait) {
  sd_event_source* source = nullptr;
  sd_event_add_time_relative(thread_.event(), &source, CLOCK_MONOTONIC,
                             static_cast<std::uint64_t>(wait.count()), 0, &OneShotTimer::onTime,
                             this);
  source_.reset(source);
}

int OneShotTimer::onTime(sd_event_source*, std::uint64_t, void* self) {
  auto& timer = *static_cast<OneShotTimer*>(self);
  timer.disarm();
  timer.handler_();
  return 0;
}

}  // namespace tessel::platform
