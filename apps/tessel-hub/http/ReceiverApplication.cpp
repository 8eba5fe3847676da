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
  const std::lock_guard lock{mutex_};
  const State state = stateLocked(now);
  if (state == State::casting || (state == State::launched && address != address_)) {
    return std::nullopt;
  }
  state_ = State::launched;
  launchedAt_ = now;
  address_ = address;
  instance_ = randomToken();
  return Launch{instance_, randomToken()};
}

bool ReceiverApplication::beginCasting(const std::string& address, Time now) {
  const std::lock_guard lock{mutex_};
  const State state = stateLocked(now);
  if (state == State::casting || (state == State::launched && address != address_)) return false;
  if (state == State::stopped) instance_.clear();
  state_ = State::casting;
  address_ = address;
  return true;
}

void ReceiverApplication::end() {
  const std::lock_guard lock{mutex_};
  state_ = State::stopped;
  instance_.clear();
}

ReceiverApplication::State ReceiverApplication::state(Time now) const {
  const std::lock_guard lock{mutex_};
  return stateLocked(now);
}

bool ReceiverApplication::runs(const std::string& instance, Time now) const {
  const std::lock_guard lock{mutex_};
  return stateLocked(now) != State::stopped && !instance.empty() && instance == instance_;
}

bool ReceiverApplication::belongsTo(const std::string& address, Time now) const {
  const std::lock_guard lock{mutex_};
  return stateLocked(now) != State::stopped && address == address_;
}

ReceiverApplication::State ReceiverApplication::stateLocked(Time now) const {
  if (state_ == State::launched && now - launchedAt_ >= kLaunchPatience) return State::stopped;
  return state_;
}

}  // namespace tessel::hub
