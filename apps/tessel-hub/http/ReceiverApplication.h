#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/base/Mutex.h"

namespace tessel::hub {

/// State of the application that a sender launches before it opens its channels: whether it runs,
/// for which sender, and as which instance. It runs from its launch to the end of the session that
/// follows; a launch without a display channel expires after `kLaunchTimeout`.
///
/// Any thread.
class ReceiverApplication {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::seconds kLaunchTimeout{30};

  enum class State { kStopped, kLaunched, kCasting };

  struct Launch {
    std::string instance;
    std::string token;
  };

  /// Launches for the sender at `address`. None if the application is taken. The sender that has
  /// launched it, and has not opened a display channel yet, may launch it again.
  std::optional<Launch> launch(const std::string& address, Time now);

  /// The display channel of the sender at `address` has opened. False if the application is taken.
  /// A sender need not have launched it.
  bool beginCasting(const std::string& address, Time now);

  void end();

  State state(Time now) const;
  /// Whether `instance` is the one that runs.
  bool runs(const std::string& instance, Time now) const;
  /// Whether it runs for the sender at `address`.
  bool belongsTo(const std::string& address, Time now) const;

 private:
  State stateLocked(Time now) const TESSEL_REQUIRES(mutex_);

  mutable platform::Mutex mutex_;
  State state_ TESSEL_GUARDED_BY(mutex_) = State::kStopped;
  Time launchedAt_ TESSEL_GUARDED_BY(mutex_);
  std::string address_ TESSEL_GUARDED_BY(mutex_);
  std::string instance_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::hub
