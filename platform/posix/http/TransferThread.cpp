#include "platform/posix/http/TransferThread.h"

#include <cassert>

#include "platform/URLSessions.h"
#include "platform/posix/Thread.h"

namespace tessel::platform {
namespace {

thread_local bool onTransferThread = false;

}  // namespace

// Never destroyed, only stopped: threads that outlive main() may still ask for transfers. The stop
// is registered after curl has begun, so that it comes before curl's and OpenSSL's own ends.
TransferThread& TransferThread::shared() {
  struct StopAtExit {
    TransferThread& thread;
    ~StopAtExit() { thread.stop(); }
  };
  static TransferThread& thread = []() -> TransferThread& {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    static const StopAtExit stopAtExit{*new TransferThread};
    return stopAtExit.thread;
  }();
  return thread;
}

TransferThread::TransferThread()
    : multi_{curl_multi_init()}, thread_{startThread("tessel.transfer", [this] { run(); })} {}

bool TransferThread::isCurrent() const { return onTransferThread; }

void TransferThread::start(std::unique_ptr<CurlTransfer> transfer) {
  {
    const MutexLock lock{mutex_};
    incoming_.push_back(std::move(transfer));
  }
  curl_multi_wakeup(multi_);
}

void TransferThread::stop() {
  {
    const MutexLock lock{mutex_};
    stopping_ = true;
  }
  curl_multi_wakeup(multi_);
  thread_.join();
}

void TransferThread::run() {
  onTransferThread = true;
  while (takeIncoming()) {
    int running = 0;
    curl_multi_perform(multi_, &running);
    finishEnded();
    for (Queue& queue : queues_) startWaiting(queue);
    constexpr int kPollTimeout = 60'000;  // milliseconds; curl wakes earlier for its own timers
    curl_multi_poll(multi_, nullptr, 0, kPollTimeout, nullptr);
  }
}

bool TransferThread::takeIncoming() {
  assert(isCurrent());
  std::vector<std::unique_ptr<CurlTransfer>> incoming;
  {
    const MutexLock lock{mutex_};
    if (stopping_) return false;
    incoming.swap(incoming_);
  }
  for (std::unique_ptr<CurlTransfer>& transfer : incoming) {
    Queue& queue = queueOf(*transfer);
    if (queue.add(transfer->server(), transfer))
      startWaiting(queue);
    else
      transfer->fail({kURLErrorDomain, CURLE_AGAIN, "Too many requests wait for their turn."});
  }
  return true;
}

void TransferThread::startWaiting(Queue& queue) {
  assert(isCurrent());
  while (std::unique_ptr<CurlTransfer> transfer = queue.next()) {
    CURL* handle = transfer->open();
    if (handle && curl_multi_add_handle(multi_, handle) == CURLM_OK) {
      running_[handle] = std::move(transfer);
    } else {
      queue.ended(transfer->server());
      transfer->finish(CURLE_OUT_OF_MEMORY);
    }
  }
}

void TransferThread::finishEnded() {
  assert(isCurrent());
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode outcome = message->data.result;
    auto ended = running_.extract(message->easy_handle);
    curl_multi_remove_handle(multi_, ended.key());
    queueOf(*ended.mapped()).ended(ended.mapped()->server());
    ended.mapped()->finish(outcome);
  }
}

}  // namespace tessel::platform
