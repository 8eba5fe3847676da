#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

namespace tessel::hub {

/// The application that a sender launches before it opens its channels: whether it runs, for whom,
/// and under which instance. It runs from its launch to the end of the session that follows; a
/// launch that no display channel follows is forgotten after `kLaunchPatience`.
///
/// Any thread.
class ReceiverApplication {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::seconds kLaunchPatience{30};

  enum class State { stopped, launched, casting };

  struct Launch {
    std::string instance;
    std::string token;
  };

  /// Launches for the sender at `address`. Nothing if the application is taken. The sender that has
  /// launched it already, and opened no display channel yet, may launch it afresh.
  std::optional<Launch> launch(const std::string& address, Time now);

  /// The display channel of the sender at `address` has opened. False if the application is taken
  /// by another one. A sender that launched nothing may cast while nobody else does.
  bool beginCasting(const std::string& address, Time now);

  void end();

  State state(Time now) const;
  /// Whether `instance` is the one that runs.
  bool runs(const std::string& instance, Time now) const;
  /// Whether it runs for the sender at `address`.
  bool belongsTo(const std::string& address, Time now) const;

 private:
  State stateLocked(Time now) const;

  mutable std::mutex mutex_;
  // Guarded by mutex_.
  State state_ = State::stopped;
  Time launchedAt_;
  std::string address_;
  std::string instance_;
};

}  // namespace tessel::hub
