#include "platform/linux/dbus/OneShotTimer.h"

#include <cassert>
#include <ctime>
#include <utility>

namespace tessel::platform {

OneShotTimer::OneShotTimer(EventThread& thread, std::function<void()> handler)
    : thread_{thread}, handler_{std::move(handler)} {}

void OneShotTimer::arm(std::chrono::microseconds wait) {
  assert(thread_.isCurrent());
  sd_event_source* source = nullptr;
  sd_event_add_time_relative(thread_.event(), &source, CLOCK_MONOTONIC,
                             static_cast<std::uint64_t>(wait.count()), 0, &OneShotTimer::onTime,
                             this);
  source_.reset(source);
}

void OneShotTimer::disarm() {
  assert(thread_.isCurrent());
  source_.reset();
}

int OneShotTimer::onTime(sd_event_source*, std::uint64_t, void* self) {
  auto& timer = *static_cast<OneShotTimer*>(self);
  timer.disarm();
  timer.handler_();
  return 0;
}

}  // namespace tessel::platform
