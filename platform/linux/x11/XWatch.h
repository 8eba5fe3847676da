#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace tessel::platform {

/// Bounds the calls that may wait for an X server. The library that speaks to the server waits for
/// ever, for a reply, for the rest of one that has begun to come and for room to write; polling for
/// a reply would bound the first of them only. So a thread looks on, and when a call has taken too
/// long it shuts the connection's socket down: to the library the server has then gone, the call
/// returns, and every later one returns at once.
class XWatch {
 public:
  using Duration = std::chrono::steady_clock::duration;

  /// The descriptor outlives the watch. `patience` tells what a call that begins may take; `lost`
  /// is called on the watch's thread once a call has taken longer, before that call returns.
  XWatch(int descriptor, std::function<Duration()> patience, std::function<void()> lost);
  ~XWatch();
  XWatch(const XWatch&) = delete;
  XWatch& operator=(const XWatch&) = delete;

  /// Whether a call has taken too long. Any thread.
  bool expired() const { return expired_; }

  /// A stretch of calls that may wait for the server, from one thread at a time. One within another
  /// has the other's bound.
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
  const std::function<Duration()> patience_;
  const std::function<void()> lost_;
  std::atomic<bool> expired_ = false;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  int waits_ = 0;                 // one within another
  std::optional<Time> deadline_;  // of the outermost
  Time wakes_;                    // when the thread looks next
  bool ending_ = false;

  std::thread thread_;  // the last: it uses all above
};

}  // namespace tessel::platform
