#pragma once

#include <csignal>
#include <pthread.h>

namespace tessel::platform {

/// Blocks the host's signals on the calling thread while it lives, and so on the threads that are
/// started meanwhile, which inherit the mask: the host handles its signals on its own threads. Not
/// blocked are faults, which belong to the thread that caused them, and a profiler's SIGPROF.
///
/// Used by startThread(), and where a third-party library starts threads itself.
class HostSignalsBlocked {
 public:
  HostSignalsBlocked() {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF}) {
      sigdelset(&blocked, own);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &before_);
  }
  ~HostSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  HostSignalsBlocked(const HostSignalsBlocked&) = delete;
  HostSignalsBlocked& operator=(const HostSignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace tessel::platform
