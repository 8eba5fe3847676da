#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Screens.h"
#include "platform/linux/ScreenChoice.h"
#include "platform/linux/x11/XConnection.h"

namespace tessel::platform {

/// The monitors of an X server, or the test picture. Connects when it is first asked, and again
/// when the server has gone and come back. Any thread.
class X11Screens final : public Screens {
 public:
  explicit X11Screens(std::shared_ptr<ScreenChoice> choice);

  std::optional<Error> select(ScreenSource source, Size patternSize) override;
  std::vector<Screen> screens() override;
  Point mouseLocation() override;

 private:
  bool connected();
  void refresh();
  Point point(int rootX, int rootY) const;

  const std::shared_ptr<ScreenChoice> choice_;

  std::mutex mutex_;  // guards what follows
  std::unique_ptr<XConnection> connection_;
  std::chrono::steady_clock::time_point nextAttempt_;
  XLayout layout_;
  std::chrono::steady_clock::time_point nextLayout_;
  Point mouse_;
};

}  // namespace tessel::platform
