#pragma once

#include <cstddef>

namespace tessel {

/// Takes the bytes of a channel, in order.
class ByteSink {
 public:
  /// Queues a copy of the bytes, which may be reused at once. False when they cannot be queued.
  virtual bool sendBuffer(const void* bytes, std::size_t length) = 0;

 protected:
  ~ByteSink() = default;
};

}  // namespace tessel
