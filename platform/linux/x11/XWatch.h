#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <optional>
#include <thread>

#include "platform/base/Mutex.h"

namespace tessel::platform {

/// Bounds the calls that may wait for an X server. xcb waits without a timeout: for a reply, for
/// the rest of one that has begun to arrive, and for room to write; polling for a reply would bound
/// the first of them only. So a watchdog thread shuts the connection's socket down when a call
/// exceeds its timeout: to xcb the server has then gone, the call returns, and every later one
/// returns at once.
class XWatch {
 public:
  using Duration = std::chrono::steady_clock::duration;

  /// The descriptor outlives the watch. `timeout` gives the bound of a call that begins; `lost` is
  /// called on the watchdog thread once a call has exceeded it, before that call returns.
  XWatch(int descriptor, std::function<Duration()> timeout, std::function<void()> lost);
  ~XWatch();
  XWatch(const XWatch&) = delete;
  XWatch& operator=(const XWatch&) = delete;

  /// Whether a call has exceeded its timeout. Any thread.
  bool expired() const { return expired_; }

  /// A section of calls that may wait for the server. Sections are of one thread at a time; one
  /// within another has the outer one's bound.
  class Wait {
   public:
    explicit Wait(XWatch& watch) : watch_{watch} { watch_.begin(); }
    ~Wait() { watch_.end(); }
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

   private:
    XWatch& watch_;
  };

 private:
  using Time = std::chrono::steady_clock::time_point;

  void begin();
  void end();
  void run();

  const int descriptor_;
  const std::function<Duration()> timeout_;
  const std::function<void()> lost_;
  std::atomic<bool> expired_ = false;

  Mutex mutex_;
  std::condition_variable changed_;
  int depth_ TESSEL_GUARDED_BY(mutex_) = 0;                 // of nested sections
  std::thread::id waiter_ TESSEL_GUARDED_BY(mutex_);        // the thread of the sections
  std::optional<Time> deadline_ TESSEL_GUARDED_BY(mutex_);  // of the outermost section
  Time wakes_ TESSEL_GUARDED_BY(mutex_);                    // when the watchdog checks next
  bool ending_ TESSEL_GUARDED_BY(mutex_) = false;

  std::thread thread_;  // last: it uses all members above
};

}  // namespace tessel::platform
