#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "platform/posix/net/Asio.h"

namespace tessel::platform {

/// The loops that queue threads run, so that they stand still when the process exits. Nobody joins
/// those threads, and some libraries take their tables down at exit (libxml2 its mutexes, each
/// module its globals): a task that ran on meanwhile would use what is gone.
///
/// One in the process, made with the first queue. Any thread.
class RunningLoops {
 public:
  using Loop = std::shared_ptr<asio::io_context>;

  static RunningLoops& shared();

  RunningLoops(const RunningLoops&) = delete;
  RunningLoops& operator=(const RunningLoops&) = delete;

  /// Runs `loop` on the calling thread until it has nothing left to do, or the process exits.
  void run(const Loop& loop);

 private:
  RunningLoops() = default;
  ~RunningLoops() = default;

  /// Lets every task that runs come to its end, within reason, and none begin.
  void stopForExit();

  std::mutex mutex_;
  std::condition_variable ended_;
  std::set<Loop> running_;
  std::vector<Loop> stopped_;  // kept: the tasks that they still hold are never destroyed
  bool exiting_ = false;
};

}  // namespace tessel::platform
