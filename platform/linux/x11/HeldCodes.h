#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tessel::platform {

/// The keys, or the buttons, that a client holds down, in the order in which it pressed them. One
/// thread at a time.
class HeldCodes {
 public:
  /// False when the code is held already.
  bool press(std::uint8_t code) {
    if (contains(held_, code)) return false;
    held_.push_back(code);
    return true;
  }

  /// False when the code is not held.
  bool release(std::uint8_t code) {
    if (std::erase(held_, code) == 0) return false;
    noteReleased(code);
    return true;
  }

  /// A press and its release at once.
  void noteReleased(std::uint8_t code) {
    if (!contains(released_, code)) released_.push_back(code);
  }

  const std::vector<std::uint8_t>& held() const { return held_; }

  /// Takes the codes that may be down on a server that has not read all that was sent: those held,
  /// the last one pressed first, then those released.
  std::vector<std::uint8_t> takeUncertain() {
    std::vector<std::uint8_t> codes{held_.rbegin(), held_.rend()};
    codes.insert(codes.end(), released_.begin(), released_.end());
    clear();
    return codes;
  }

  /// Nothing is down.
  void clear() {
    held_.clear();
    released_.clear();
  }

 private:
  static bool contains(const std::vector<std::uint8_t>& codes, std::uint8_t code) {
    return std::ranges::find(codes, code) != codes.end();
  }

  std::vector<std::uint8_t> held_;
  std::vector<std::uint8_t> released_;  // each code once
};

}  // namespace tessel::platform
