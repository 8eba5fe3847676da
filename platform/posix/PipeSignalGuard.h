#pragma once

#include <signal.h>
#include <time.h>

#include "platform/posix/Thread.h"

namespace tessel::platform {

/// Blocks SIGPIPE on the calling thread while it lives, and consumes one that was raised meanwhile.
/// For libraries that write to sockets without MSG_NOSIGNAL. Costs nothing on the library's own
/// threads, where SIGPIPE is blocked for good.
class PipeSignalGuard {
 public:
  PipeSignalGuard() {
    if (!needed_) return;
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &previous_);
  }
  ~PipeSignalGuard() {
    if (!needed_) return;
    constexpr timespec kAtOnce{};
    if (!wasPending_) sigtimedwait(&pipe_, nullptr, &kAtOnce);
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  PipeSignalGuard(const PipeSignalGuard&) = delete;
  PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;

 private:
  const bool needed_ = !isOwnThread();
  sigset_t pipe_{};
  sigset_t previous_{};
  bool wasPending_ = false;
};

}  // namespace tessel::platform
