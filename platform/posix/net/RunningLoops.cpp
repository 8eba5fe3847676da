#include "platform/posix/net/RunningLoops.h"

#include <algorithm>
#include <chrono>

namespace tessel::platform {
namespace {

// A task that takes longer may well wait for the thread that exits.
constexpr std::chrono::seconds kPatience{1};

// The loop that the calling thread runs.
thread_local const asio::io_context* ownLoop = nullptr;

}  // namespace

// Never destroyed, only stopped: a queue may still be made while the process exits.
RunningLoops& RunningLoops::shared() {
  struct StopAtExit {
    RunningLoops& loops;
    ~StopAtExit() { loops.stopForExit(); }
  };
  static RunningLoops& loops = []() -> RunningLoops& {
    static const StopAtExit stopAtExit{*new RunningLoops};
    return stopAtExit.loops;
  }();
  return loops;
}

void RunningLoops::run(const Loop& loop) {
  {
    const std::lock_guard lock{mutex_};
    running_.insert(loop);
    if (exiting_) loop->stop();
  }
  ownLoop = loop.get();
  loop->run();
  const std::lock_guard lock{mutex_};
  running_.erase(loop);
  if (exiting_) stopped_.push_back(loop);
  ended_.notify_all();
}

void RunningLoops::stopForExit() {
  std::unique_lock lock{mutex_};
  exiting_ = true;
  for (const Loop& loop : running_) loop->stop();
  ended_.wait_for(lock, kPatience, [this] {
    return std::ranges::all_of(running_, [](const Loop& loop) { return loop.get() == ownLoop; });
  });
}

}  // namespace tessel::platform
