#pragma once

#include <chrono>
#include <functional>

#include "platform/linux/dbus/EventThread.h"
#include "platform/linux/dbus/SdBus.h"

namespace tessel::platform {

/// Calls its handler once, some time after it was armed. Belongs to the thread of its
/// `EventThread`, which must outlive it; the handler runs there.
class OneShotTimer {
 public:
  OneShotTimer(EventThread& thread, std::function<void()> handler);

  /// Starts the wait anew.
  void arm(std::chrono::microseconds wait);
  void disarm();
  bool armed() const { return source_ != nullptr; }

 private:
  static int onTime(sd_event_source* source, std::uint64_t time, void* self);

  EventThread& thread_;
  const std::function<void()> handler_;
  SdEventSource source_;
};

}  // namespace tessel::platform
