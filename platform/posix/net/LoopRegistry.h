#pragma once

#include <condition_variable>
#include <memory>
#include <set>
#include <vector>

#include "platform/base/Mutex.h"
#include "platform/posix/net/Asio.h"

namespace tessel::platform {

/// The event loops of the queue threads, so that they stop when the process exits. Those threads
/// are never joined, and some libraries free their globals at exit (libxml2 its mutexes, each
/// module its statics): a task that still ran would use freed memory.
///
/// One in the process, made with the first queue. Any thread.
class LoopRegistry {
 public:
  using Loop = std::shared_ptr<asio::io_context>;

  static LoopRegistry& shared();

  LoopRegistry(const LoopRegistry&) = delete;
  LoopRegistry& operator=(const LoopRegistry&) = delete;

  /// Runs `loop` on the calling thread until it has nothing left to do, or the process exits.
  void run(const Loop& loop);

 private:
  LoopRegistry() = default;
  ~LoopRegistry() = default;

  /// Stops all loops: no task begins, and those that run are waited for up to a time-out.
  void stopForExit();
  bool othersRun() const TESSEL_REQUIRES(mutex_);

  Mutex mutex_;
  std::condition_variable ended_;
  std::set<Loop> running_ TESSEL_GUARDED_BY(mutex_);
  // Kept, so that the tasks that they still hold are never destroyed.
  std::vector<Loop> stopped_ TESSEL_GUARDED_BY(mutex_);
  bool exiting_ TESSEL_GUARDED_BY(mutex_) = false;
};

}  // namespace tessel::platform
