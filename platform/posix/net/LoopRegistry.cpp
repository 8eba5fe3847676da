#include "platform/posix/net/LoopRegistry.h"

#include <algorithm>
#include <chrono>

namespace tessel::platform {
namespace {

// A task that takes longer may be waiting for the thread that exits.
constexpr std::chrono::seconds kStopTimeout{1};

// The loop that the calling thread runs.
thread_local const asio::io_context* ownLoop = nullptr;

}  // namespace

// Never destroyed, only stopped: a queue may still be made while the process exits.
LoopRegistry& LoopRegistry::shared() {
  struct StopAtExit {
    LoopRegistry& registry;
    ~StopAtExit() { registry.stopForExit(); }
  };
  static LoopRegistry& registry = []() -> LoopRegistry& {
    static const StopAtExit stopAtExit{*new LoopRegistry};
    return stopAtExit.registry;
  }();
  return registry;
}

void LoopRegistry::run(const Loop& loop) {
  {
    const MutexLock lock{mutex_};
    running_.insert(loop);
    if (exiting_) loop->stop();
  }
  ownLoop = loop.get();
  loop->run();
  const MutexLock lock{mutex_};
  running_.erase(loop);
  if (exiting_) stopped_.push_back(loop);
  ended_.notify_all();
}

bool LoopRegistry::othersRun() const {
  return std::ranges::any_of(running_, [](const Loop& loop) { return loop.get() != ownLoop; });
}

void LoopRegistry::stopForExit() {
  const auto deadline = std::chrono::steady_clock::now() + kStopTimeout;
  MutexLock lock{mutex_};
  exiting_ = true;
  for (const Loop& loop : running_) loop->stop();
  while (othersRun() && ended_.wait_until(lock.native(), deadline) == std::cv_status::no_timeout) {
  }
}

}  // namespace tessel::platform
