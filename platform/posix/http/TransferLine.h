#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>

namespace tessel::platform {

/// Decides which transfers run and which wait: so many at once, and few of one server. The next to
/// run is of the server that has least running; among those, of the one that has waited longest
/// since it came or since its last transfer ended. So requests to servers that never answer leave
/// room for the others, and where they have taken all of it, each place that becomes free goes to
/// somebody else first. Those of one server go in the order they came. One thread.
template <typename T>
class TransferLine {
 public:
  static constexpr std::size_t kMostRunning = 16;
  static constexpr std::size_t kMostWaiting = 1024;
  static constexpr std::size_t kMostWaitingOfOneServer = 16;

  explicit TransferLine(std::size_t mostRunningOfOneServer)
      : mostRunningOfOneServer_{mostRunningOfOneServer} {}

  /// Puts `transfer` at the end, unless there are too many already; then it stays the caller's.
  bool add(const std::string& server, std::unique_ptr<T>& transfer) {
    if (waiting_ >= kMostWaiting) return false;
    Share& share = shares_[server];
    if (share.waiting.size() >= kMostWaitingOfOneServer) return false;
    if (share.waiting.empty()) share.turn = ++turns_;
    share.waiting.push_back(std::move(transfer));
    ++waiting_;
    return true;
  }

  /// How many servers have transfers that run or wait: nothing is remembered of any other.
  std::size_t servers() const { return shares_.size(); }

  /// The next transfer to run; null when none may.
  std::unique_ptr<T> next() {
    if (running_ >= kMostRunning) return nullptr;
    Share* first = nullptr;
    for (auto& [server, share] : shares_) {
      if (share.waiting.empty() || share.running >= mostRunningOfOneServer_) continue;
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

  const std::size_t mostRunningOfOneServer_;
  std::map<std::string, Share> shares_;  // by server
  std::size_t waiting_ = 0;
  std::size_t running_ = 0;
  std::uint64_t turns_ = 0;
};

}  // namespace tessel::platform
