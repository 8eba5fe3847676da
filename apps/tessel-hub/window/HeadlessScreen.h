#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "apps/tessel-hub/video/HubScreen.h"

namespace tessel::hub {

/// A screen that nobody looks at: each picture counts as shown once it is decoded.
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
  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::deque<std::function<void()>> tasks_;
  bool quit_ = false;
};

}  // namespace tessel::hub
