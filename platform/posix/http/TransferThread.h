#pragma once

#include <array>
#include <curl/curl.h>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "platform/base/Mutex.h"
#include "platform/posix/http/CurlTransfer.h"
#include "platform/posix/http/TransferQueue.h"

namespace tessel::platform {

/// The one thread of the process that runs all transfers. It calls no completion: answers go to the
/// callback queues. Lives to the end of the process, which it does not delay: transfers that are
/// under way then are dropped.
class TransferThread {
 public:
  static TransferThread& shared();

  TransferThread(const TransferThread&) = delete;
  TransferThread& operator=(const TransferThread&) = delete;

  /// Any thread.
  void start(std::unique_ptr<CurlTransfer> transfer);

 private:
  using Queue = TransferQueue<CurlTransfer>;

  TransferThread();
  ~TransferThread() = default;
  void stop();

  // All of these on thread_.
  void run();
  bool isCurrent() const;
  bool takeIncoming();
  void startWaiting(Queue& queue);
  void finishEnded();
  Queue& queueOf(const CurlTransfer& transfer) {
    return queues_[static_cast<std::size_t>(transfer.transferClass())];
  }

  CURLM* const multi_;

  Mutex mutex_;
  std::vector<std::unique_ptr<CurlTransfer>> incoming_ TESSEL_GUARDED_BY(mutex_);
  bool stopping_ TESSEL_GUARDED_BY(mutex_) = false;

  // On thread_ only.
  std::array<Queue, kTransferClasses> queues_;
  std::map<CURL*, std::unique_ptr<CurlTransfer>> running_;

  std::thread thread_;  // last, since it uses all the others
};

}  // namespace tessel::platform
