#pragma once

#include <array>
#include <curl/curl.h>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/posix/http/CurlTransfer.h"
#include "platform/posix/http/TransferLine.h"

namespace tessel::platform {

/// The one thread of the process that moves the bytes of all transfers. It calls nobody back:
/// answers go to the callback queues. Lives to the end of the process, which it does not delay:
/// transfers that are under way then are dropped.
class TransferThread {
 public:
  static TransferThread& shared();

  TransferThread(const TransferThread&) = delete;
  TransferThread& operator=(const TransferThread&) = delete;

  /// Any thread.
  void start(std::unique_ptr<CurlTransfer> transfer);

 private:
  using Line = TransferLine<CurlTransfer>;

  TransferThread();
  ~TransferThread() = default;
  void stop();

  void run();
  bool takeIncoming();
  void startWaiting(Line& line);
  void finishEnded();
  Line& lineOf(const CurlTransfer& transfer) {
    return lines_[static_cast<std::size_t>(transfer.lane())];
  }

  CURLM* const multi_;

  std::mutex mutex_;  // guards the next two
  std::vector<std::unique_ptr<CurlTransfer>> incoming_;
  bool stopping_ = false;

  // The transfer thread's. The background asks every hub for its name, again and again: with one
  // transfer at a time for each it takes sixteen dead hubs to fill it.
  std::array<Line, kTransferLanes> lines_{Line{2}, Line{2}, Line{1}};
  std::map<CURL*, std::unique_ptr<CurlTransfer>> running_;

  std::thread thread_;  // last, since it uses all the others
};

}  // namespace tessel::platform
