#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Services.h"
#include "tests/support/FakeBluetooth.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/FakeFiles.h"
#include "tests/support/FakeVideo.h"
#include "tests/support/RecordingPoster.h"
#include "tests/support/SimHTTP.h"
#include "tests/support/SimNetwork.h"
#include "tests/support/SimScheduler.h"

namespace tessel::test {

/// The log lines written while it lives.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  std::vector<std::string> lines() const;
  /// Whether a line is exactly `line`.
  bool has(std::string_view line) const;
  /// How many lines are exactly `line`.
  int count(std::string_view line) const;
  /// Lines that begin with `prefix`.
  std::vector<std::string> startingWith(std::string_view prefix) const;
  /// Labels of the simulated queues on which lines that begin with `prefix` were written; empty for
  /// any other thread.
  std::set<std::string> queuesOf(std::string_view prefix) const;
  void clear();

 private:
  struct Line {
    std::string text;
    std::string queue;
  };

  mutable std::mutex mutex_;  // guards lines_
  std::vector<Line> lines_;
};

/// A whole computer, simulated, for as long as it lives. Make it first in a test, so that it goes
/// last. See SimScheduler for how time passes.
class SimWorld {
 public:
  SimWorld();
  ~SimWorld();
  SimWorld(const SimWorld&) = delete;
  SimWorld& operator=(const SimWorld&) = delete;

  SimScheduler& scheduler;  ///< owned by the services
  SimNetwork& network;
  SimHTTP& http;
  FakeFiles& files;
  FakeUserDefaults& userDefaults;
  FakeLocalization& localization;
  FakeDesktop& desktop;
  FakeScreens& screens;   ///< of the desktop
  FakeCaptures& capture;  ///< of the desktop
  FakeVideoEncoding& encoding;
  RecordingPosting& poster;  ///< of the desktop
  FakeBluetooth& bluetooth;
  LogRecorder log;

  /// Runs what is ready; time stands still.
  void run() { scheduler.run(); }
  /// Lets time pass.
  void advance(platform::Clock::Duration duration) { scheduler.advance(duration); }
  Date now() { return scheduler.now(); }

 private:
  explicit SimWorld(platform::Services fakes);

  // The fakes use the scheduler to their end: it is the first of them made and the last to go.
  const platform::Services fakes_;
  platform::ScopedServices scope_;
};

}  // namespace tessel::test
