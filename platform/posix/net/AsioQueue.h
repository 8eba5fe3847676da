#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Queues.h"
#include "platform/posix/net/Asio.h"

namespace tessel::platform {

/// A serial queue with a thread and an io_context of its own. Any thread.
///
/// The thread is detached: it ends when the last reference is gone, the tasks have run and nothing
/// asynchronous is under way. An object on `context()` must not outlive the queue.
class AsioQueue final : public SerialQueue {
 public:
  static std::shared_ptr<AsioQueue> make(const std::string& label);

  ~AsioQueue() override;
  AsioQueue(const AsioQueue&) = delete;
  AsioQueue& operator=(const AsioQueue&) = delete;

  void async(std::function<void()> task) override;
  const std::string& label() const override;
  bool isCurrent() const override;

  asio::io_context& context();

 private:
  struct Loop;
  explicit AsioQueue(std::shared_ptr<Loop> loop);

  const std::shared_ptr<Loop> loop_;  // shared with the thread
};

/// The queue on which sockets and timers of `queue` wait: itself, or a shared one for a queue that
/// cannot wait, such as the main queue. Any thread.
std::shared_ptr<AsioQueue> ioQueueOf(const std::shared_ptr<SerialQueue>& queue);

}  // namespace tessel::platform
