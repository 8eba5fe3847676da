#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>

namespace tessel::platform {

/// Decides which transfers run and which wait: so many at once, and few of one server, so that
/// requests to a server that never answers leave room for the others. Those that wait go in the
/// order they came, past the ones whose server has its share. One thread.
template <typename T>
class TransferLine {
 public:
  static constexpr std::size_t kMostRunning = 16;
  static constexpr std::size_t kMostRunningOfOneServer = 2;
  static constexpr std::size_t kMostWaiting = 1024;
  static constexpr std::size_t kMostWaitingOfOneServer = 16;

  /// Puts `transfer` at the end, unless there are too many already; then it stays the caller's.
  bool add(const std::string& server, std::unique_ptr<T>& transfer) {
    if (waiting_.size() >= kMostWaiting) return false;
    Share& share = shares_[server];
    if (share.waiting >= kMostWaitingOfOneServer) return false;
    ++share.waiting;
    waiting_.push_back({server, std::move(transfer)});
    return true;
  }

  /// How many servers have transfers that run or wait: nothing is remembered of any other.
  std::size_t servers() const { return shares_.size(); }

  /// The next transfer to run; null when none may.
  std::unique_ptr<T> next() {
    if (running_ >= kMostRunning) return nullptr;
    for (auto at = waiting_.begin(); at != waiting_.end(); ++at) {
      Share& share = shares_[at->server];
      if (share.running >= kMostRunningOfOneServer) continue;
      --share.waiting;
      ++share.running;
      ++running_;
      std::unique_ptr<T> transfer = std::move(at->transfer);
      waiting_.erase(at);
      return transfer;
    }
    return nullptr;
  }

  /// A transfer that next() gave has ended.
  void ended(const std::string& server) {
    Share& share = shares_[server];
    --running_;
    if (--share.running == 0 && share.waiting == 0) shares_.erase(server);
  }

 private:
  struct Share {
    std::size_t waiting = 0;
    std::size_t running = 0;
  };
  struct Waiting {
    std::string server;
    std::unique_ptr<T> transfer;
  };

  std::deque<Waiting> waiting_;
  std::map<std::string, Share> shares_;  // by server
  std::size_t running_ = 0;
};

}  // namespace tessel::platform
