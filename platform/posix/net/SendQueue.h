#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <span>
#include <sys/uio.h>

#include "platform/base/Mutex.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// Blocks of bytes to send, in order. Any thread adds; one thread, the consumer, takes.
class SendQueue {
 public:
  /// Adds a copy. Returns whether the consumer has to be notified: not while it has yet to look.
  bool add(const void* bytes, std::size_t length);

  /// The next bytes to send, in as many pieces as one call of the system takes. They stay where
  /// they are until `remove` or `close`. The consumer.
  std::span<const iovec> next();

  /// Takes bytes off the front. The consumer.
  void remove(std::size_t bytes);

  /// Drops everything, now and from now on. The consumer.
  void close();

  std::size_t size() const;

 private:
  mutable Mutex mutex_;
  std::deque<Bytes> blocks_ TESSEL_GUARDED_BY(mutex_);  // the bytes in them do not change
  std::size_t size_ TESSEL_GUARDED_BY(mutex_) = 0;
  bool notified_ TESSEL_GUARDED_BY(mutex_) = false;  // the consumer has yet to look
  bool closed_ TESSEL_GUARDED_BY(mutex_) = false;

  // The consumer's.
  std::size_t offset_ = 0;  // into the first block
  std::array<iovec, 64> pieces_{};
};

}  // namespace tessel::platform
