#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <mutex>
#include <span>
#include <sys/uio.h>

#include "tessel/Types.h"

namespace tessel::platform {

/// Blocks of bytes on their way out, in order. Any thread adds; one thread takes.
class SendQueue {
 public:
  /// Adds a copy. Whether the taking thread has to be told: not while it has yet to look.
  bool add(const void* bytes, std::size_t length);

  /// The next bytes to send, in as many pieces as one call of the system takes. They stay where
  /// they are until `remove` or `close`. The taking thread.
  std::span<const iovec> next();

  /// Takes bytes off the front. The taking thread.
  void remove(std::size_t bytes);

  /// Drops everything, now and from now on. The taking thread.
  void close();

  std::size_t size() const;

 private:
  mutable std::mutex mutex_;  // guards blocks_ (not the bytes in them), size_, told_ and closed_
  std::deque<Bytes> blocks_;
  std::size_t size_ = 0;
  bool told_ = false;
  bool closed_ = false;

  std::size_t offset_ = 0;          // into the first block; taking thread
  std::array<iovec, 64> pieces_{};  // taking thread
};

}  // namespace tessel::platform
