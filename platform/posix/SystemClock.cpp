#include "platform/posix/SystemClock.h"

#include <algorithm>
#include <thread>

namespace tessel::platform {
namespace {

// Longer waits are cut to this, so that no deadline overflows.
constexpr Clock::Duration kMaxWait = std::chrono::hours{24 * 365};

class SystemClock final : public Clock {
 public:
  Date now() override { return std::chrono::system_clock::now(); }

  Duration uptime() override { return std::chrono::steady_clock::now().time_since_epoch(); }

  void sleep(Duration duration) override {
    std::this_thread::sleep_for(std::min(duration, kMaxWait));
  }

  bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
            std::optional<Duration> timeout, const std::function<bool()>& ready) override {
    if (timeout) return condition.wait_for(lock, std::min(*timeout, kMaxWait), ready);
    condition.wait(lock, ready);
    return true;
  }
};

}  // namespace

std::shared_ptr<Clock> makeClock() { return std::make_shared<SystemClock>(); }

}  // namespace tessel::platform
