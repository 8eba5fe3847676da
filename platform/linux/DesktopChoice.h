#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Queues.h"
#include "platform/base/Mutex.h"

namespace tessel::platform {

/// Chooses the desktop by the source that the host selects and by the login session's environment
/// variables, which are read when the choice is made. Any thread.
class DesktopChoice final : public Desktops {
 public:
  DesktopChoice(std::shared_ptr<Queues> queues, std::shared_ptr<Clock> clock);

  std::optional<Obstacle> select(ScreenSource source, Size patternSize) override;
  std::shared_ptr<Desktop> current() override;

 private:
  std::shared_ptr<Desktop> make(ScreenSource source, Size patternSize) const;

  const std::shared_ptr<Queues> queues_;
  const std::shared_ptr<Clock> clock_;

  Mutex mutex_;
  std::shared_ptr<Desktop> current_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::platform
