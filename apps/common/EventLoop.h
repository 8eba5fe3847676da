#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace tessel::apps {

/// The loop of a program that links the library: runs the library's main queue, ticks, and turns
/// SIGINT, SIGTERM and SIGHUP into an orderly end. So it does with SIGPIPE: a write to a pipe that
/// nobody reads any more fails, and the loop ends where it was its own thread that wrote.
/// Everything it calls, it calls on the thread that runs it.
///
/// Make it first in main(), while the process has one thread: it blocks those signals, and threads
/// inherit that.
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
};

}  // namespace tessel::apps
