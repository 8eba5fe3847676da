#include "platform/libav/LibavSilence.h"

#include <mutex>

extern "C" {
#include <libavutil/log.h>
}

namespace tessel::platform {
namespace {

std::mutex mutex;  // guards what follows
int living = 0;
int levelBefore = 0;

}  // namespace

LibavSilence::LibavSilence() {
  const std::lock_guard lock{mutex};
  if (living++ > 0) return;
  levelBefore = av_log_get_level();
  av_log_set_level(AV_LOG_QUIET);
}

LibavSilence::~LibavSilence() {
  const std::lock_guard lock{mutex};
  if (--living == 0 && av_log_get_level() == AV_LOG_QUIET) av_log_set_level(levelBefore);
}

}  // namespace tessel::platform
