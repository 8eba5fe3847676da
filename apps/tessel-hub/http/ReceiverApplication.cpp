#include "apps/tessel-hub/http/ReceiverApplication.h"

#include <array>
#include <random>

namespace tessel::hub {
namespace {

std::string randomToken() {
  constexpr std::array<char, 16> kDigits{'0', '1', '2', '3', '4', '5', '6', '7',
                                         '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
  std::random_device random;
  std::string token;
  for (int i = 0; i < 16; ++i) token += kDigits.at(random() % kDigits.size());
  return token;
}

}  // namespace

std::optional<ReceiverApplication::Launch> ReceiverApplication::launch(const std::string& address,
                                                                       Time now) {
  const platform::MutexLock lock{mutex_};
  const State state = stateLocked(now);
  if (state == State::kCasting || (state == State::kLaunched && address != address_)) {
    return std::nullopt;
  }
  state_ = State::kLaunched;
  launchedAt_ = now;
  address_ = address;
  instance_ = randomToken();
  return Launch{instance_, randomToken()};
}

bool ReceiverApplication::beginCasting(const std::string& address, Time now) {
  const platform::MutexLock lock{mutex_};
  const State state = stateLocked(now);
  if (state == State::kCasting || (state == State::kLaunched && address != address_)) return false;
  if (state == State::kStopped) instance_.clear();
  state_ = State::kCasting;
  address_ = address;
  return true;
}

void ReceiverApplication::end() {
  const platform::MutexLock lock{mutex_};
  state_ = State::kStopped;
  instance_.clear();
}

ReceiverApplication::State ReceiverApplication::state(Time now) const {
  const platform::MutexLock lock{mutex_};
  return stateLocked(now);
}

bool ReceiverApplication::runs(const std::string& instance, Time now) const {
  const platform::MutexLock lock{mutex_};
  return stateLocked(now) != State::kStopped && !instance.empty() && instance == instance_;
}

bool ReceiverApplication::belongsTo(const std::string& address, Time now) const {
  const platform::MutexLock lock{mutex_};
  return stateLocked(now) != State::kStopped && address == address_;
}

ReceiverApplication::State ReceiverApplication::stateLocked(Time now) const {
  if (state_ == State::kLaunched && now - launchedAt_ >= kLaunchTimeout) return State::kStopped;
  return state_;
}

}  // namespace tessel::hub
