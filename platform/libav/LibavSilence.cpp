#include "platform/libav/LibavSilence.h"

#include "platform/base/Mutex.h"

extern "C" {
#include <libavutil/log.h>
}

namespace tessel::platform {
namespace {

Mutex mutex;
int living TESSEL_GUARDED_BY(mutex) = 0;
int levelBefore TESSEL_GUARDED_BY(mutex) = 0;

}  // namespace

LibavSilence::LibavSilence() {
  const MutexLock lock{mutex};
  if (living++ > 0) return;
  levelBefore = av_log_get_level();
  av_log_set_level(AV_LOG_QUIET);
}

LibavSilence::~LibavSilence() {
  const MutexLock lock{mutex};
  if (--living == 0 && av_log_get_level() == AV_LOG_QUIET) av_log_set_level(levelBefore);
}

}  // namespace tessel::platform
