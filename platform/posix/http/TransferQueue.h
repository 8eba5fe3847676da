#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>

namespace tessel::platform {

/// Decides which transfers run and which wait: at most so many at once, and of these at most six to
/// one server. Fair queueing: the next to run is to the server with the fewest running; among
/// those, to the one that has waited longest since it came or since its last transfer ended.
/// Transfers to one server run in the order they came. One thread.
///
/// So servers that never answer leave room for the others until sixteen of them have their full
/// share, and even then each place that becomes free goes to another server first.
template <typename T>
class TransferQueue {
 public:
  static constexpr std::size_t kMaxRunningPerServer = 6;
  static constexpr std::size_t kMaxRunning = 16 * kMaxRunningPerServer;
  static constexpr std::size_t kMaxWaitingPerServer = 16;
  static constexpr std::size_t kMaxWaiting = 1024;

  /// Appends `transfer`, unless too many wait already: then it stays the caller's.
  bool add(const std::string& server, std::unique_ptr<T>& transfer) {
    if (waiting_ >= kMaxWaiting) return false;
    Share& share = shares_[server];
    if (share.waiting.size() >= kMaxWaitingPerServer) return false;
    if (share.waiting.empty()) share.turn = ++turns_;
    share.waiting.push_back(std::move(transfer));
    ++waiting_;
    return true;
  }

  /// How many servers have transfers that run or wait. Nothing is kept of any other.
  std::size_t servers() const { return shares_.size(); }

  /// The next transfer to run; null when none may.
  std::unique_ptr<T> next() {
    if (running_ >= kMaxRunning) return nullptr;
    Share* first = nullptr;
    for (auto& [server, share] : shares_) {
      if (share.waiting.empty() || share.running >= kMaxRunningPerServer) continue;
      if (!first || share.comesBefore(*first)) first = &share;
    }
    if (!first) return nullptr;
    std::unique_ptr<T> transfer = std::move(first->waiting.front());
    first->waiting.pop_front();
    --waiting_;
    ++first->running;
    ++running_;
    return transfer;
  }

  /// A transfer that next() gave has ended.
  void ended(const std::string& server) {
    Share& share = shares_[server];
    share.turn = ++turns_;
    --running_;
    if (--share.running == 0 && share.waiting.empty()) shares_.erase(server);
  }

 private:
  struct Share {
    std::deque<std::unique_ptr<T>> waiting;
    std::size_t running = 0;
    std::uint64_t turn = 0;  // the smaller, the longer it has waited

    bool comesBefore(const Share& other) const {
      return std::tie(running, turn) < std::tie(other.running, other.turn);
    }
  };

  std::map<std::string, Share> shares_;  // by server
  std::size_t waiting_ = 0;
  std::size_t running_ = 0;
  std::uint64_t turns_ = 0;
};

}  // namespace tessel::platform
