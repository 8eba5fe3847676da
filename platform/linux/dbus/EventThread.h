#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "platform/linux/dbus/SdBus.h"

namespace tessel::platform {

/// A thread that waits for events: those of the sources added to `event()`, and tasks. `post` may
/// be called from any thread, everything else from the thread itself, or while it does not run.
class EventThread {
 public:
  EventThread();
  /// Stops it.
  ~EventThread();
  EventThread(const EventThread&) = delete;
  EventThread& operator=(const EventThread&) = delete;

  /// Starts the thread under a name of at most 15 letters. Where there was no file descriptor left
  /// for it nothing starts, and no task will run.
  void start(const std::string& name);
  /// Ends the thread after the task or event under way; tasks left do not run. Not from the thread
  /// itself.
  void stop();

  void post(std::function<void()> task);
  sd_event* event() const { return event_.get(); }

 private:
  static int onWake(sd_event_source* source, int fd, std::uint32_t events, void* self);
  void wake();
  void runTasks();

  const SdEvent event_;
  const int wakeup_;  // an eventfd
  SdEventSource wakeSource_;
  std::mutex mutex_;  // guards both members below
  std::deque<std::function<void()>> tasks_;
  bool stopping_ = false;
  std::thread thread_;
};

/// Calls its handler once, some time after it was armed. On the thread of its `EventThread`.
class OneShotTimer {
 public:
  OneShotTimer(EventThread& thread, std::function<void()> handler);

  /// Starts the wait anew.
  void arm(std::chrono::microseconds wait);
  void disarm() { source_.reset(); }
  bool armed() const { return source_ != nullptr; }

 private:
  static int onTime(sd_event_source* source, std::uint64_t time, void* self);

  EventThread& thread_;
  const std::function<void()> handler_;
  SdEventSource source_;
};

}  // namespace tessel::platform
