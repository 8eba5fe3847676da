#pragma once

#include <csignal>
#include <pthread.h>

namespace tessel::platform {

/// Keeps the host's signals from the threads that are started while it lives: a thread starts with
/// the mask of the one that starts it. The signals are the host's, and so are the threads to handle
/// them on. A fault stays with the thread that made it, as does the tick of a profiler.
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
