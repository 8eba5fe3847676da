#include "apps/common/PipeSignal.h"

#include <csignal>
#include <pthread.h>

namespace tessel::apps {

void blockPipeSignal() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

}  // namespace tessel::apps
