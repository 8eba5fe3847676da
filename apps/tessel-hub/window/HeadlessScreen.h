#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <string>

#include "apps/tessel-hub/video/HubScreen.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {

/// No screen at all: each picture counts as shown once it is decoded.
class HeadlessScreen final : public HubScreen {
 public:
  void run() override;
  void quit() override;
  void post(std::function<void()> task) override;
  void begin(int, int, const std::string&) override {}
  void show(const Picture&, DoneHandler done) override { done(true); }
  void moveCursor(int, int) override {}
  void end() override {}

 private:
  platform::Mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_ TESSEL_GUARDED_BY(mutex_);
  bool quit_ TESSEL_GUARDED_BY(mutex_) = false;
};

}  // namespace tessel::hub
