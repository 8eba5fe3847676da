#pragma once

#include <functional>
#include <memory>

#include "platform/Queues.h"

namespace tessel::platform {

/// A timer on the steady clock for any queue. Any thread.
class AsioTimer final : public Timer {
 public:
  AsioTimer(const std::shared_ptr<SerialQueue>& queue, Clock::Duration first,
            Clock::Duration period, std::function<void()> handler);
  ~AsioTimer() override;
  AsioTimer(const AsioTimer&) = delete;
  AsioTimer& operator=(const AsioTimer&) = delete;

  void resume() override;
  void suspend() override;
  void cancel() override;

 private:
  class State;
  const std::shared_ptr<State> state_;  // shared with the waits under way
};

}  // namespace tessel::platform
