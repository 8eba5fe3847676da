#pragma once

#include <deque>
#include <functional>
#include <string>
#include <thread>

#include "platform/base/Mutex.h"
#include "platform/linux/dbus/SdBus.h"
#include "platform/posix/FileDescriptor.h"

namespace tessel::platform {

/// A thread that waits for events: those of the sources added to `event()`, and tasks. `post` and
/// `isCurrent` may be called from any thread, everything else from the thread itself or while it
/// does not run.
class EventThread {
 public:
  EventThread();
  /// Stops it.
  ~EventThread();
  EventThread(const EventThread&) = delete;
  EventThread& operator=(const EventThread&) = delete;

  /// Starts the thread; see startThread for its name. Without a file descriptor left for it nothing
  /// starts, and no task will run.
  void start(const std::string& name);
  /// Ends the thread after the task or event under way; tasks left do not run. Not from the thread
  /// itself.
  void stop();

  /// Runs `task` on the thread, after those posted before.
  void post(std::function<void()> task);
  /// Whether the calling thread is this one.
  bool isCurrent() const;
  sd_event* event() const { return event_.get(); }

 private:
  static int onWake(sd_event_source* source, int fd, std::uint32_t events, void* self);
  void wake();
  void runTasks();

  const SdEvent event_;
  const FileDescriptor wakeup_;  // an eventfd
  SdEventSource wakeSource_;
  Mutex mutex_;
  std::deque<std::function<void()>> tasks_ TESSEL_GUARDED_BY(mutex_);
  bool stopping_ TESSEL_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace tessel::platform
