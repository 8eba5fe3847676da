#include "platform/posix/Thread.h"

#include <pthread.h>
#include <string>
#include <utility>

#include "platform/posix/HostSignals.h"

namespace tessel::platform {
namespace {

constexpr std::size_t kMaxNameLength = 15;

thread_local bool ownThread = false;

}  // namespace

std::thread startThread(std::string_view name, std::function<void()> run) {
  const HostSignalsBlocked inherited;
  return std::thread{
      [name = std::string{name.substr(0, kMaxNameLength)}, run = std::move(run)]() mutable {
        ownThread = true;
        pthread_setname_np(pthread_self(), name.c_str());
        // The function is destroyed on this thread, before it ends.
        std::exchange(run, nullptr)();
      }};
}

bool isOwnThread() { return ownThread; }

}  // namespace tessel::platform
