#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "apps/common/ThreadChecker.h"

namespace tessel::apps {

/// The loop of a program that links the library: runs the library's main queue and ticks, and turns
/// SIGINT, SIGTERM and SIGHUP into an orderly end. A write to a pipe without a reader fails and, on
/// the loop's own thread, ends the loop like those signals.
///
/// Used on one thread, on which it calls everything. Make it first in main(), while the process has
/// one thread: it blocks the signals, and threads inherit that.
class EventLoop {
 public:
  using Duration = std::chrono::milliseconds;

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Calls `handler` every `period`, from `period` after now on.
  void every(Duration period, std::function<void()> handler);
  /// Calls `handler` when a signal asks the program to end; without one the loop just stops.
  void onInterrupt(std::function<void()> handler) { interrupt_ = std::move(handler); }

  /// Runs until stop(). Can be run again.
  void run();
  /// Runs the main queue and the ticks until `done` holds or `timeout` has passed; ticks and
  /// signals as in run(). Returns `done()`.
  bool runUntil(const std::function<bool()>& done, std::optional<Duration> timeout);
  /// Makes run() return. On the loop's thread.
  void stop() { stopped_ = true; }

  /// Whether a signal has asked the program to end.
  bool interrupted() const { return interrupted_; }

 private:
  using Time = std::chrono::steady_clock::time_point;
  struct Tick {
    Duration period;
    Time due;
    std::function<void()> handler;
  };

  void turn(std::optional<Time> deadline);
  void runTicks();

  int signals_;
  std::function<void()> interrupt_;
  std::vector<Tick> ticks_;
  bool stopped_ = false;
  bool interrupted_ = false;
  ThreadChecker thread_;
};

}  // namespace tessel::apps
