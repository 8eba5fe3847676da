#include "platform/posix/net/SendQueue.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace tessel::platform {

bool SendQueue::add(const void* bytes, std::size_t length) {
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  Bytes block{first, first + length};
  const MutexLock lock{mutex_};
  if (closed_ || length == 0) return false;
  blocks_.push_back(std::move(block));
  size_ += length;
  return !std::exchange(notified_, true);
}

std::span<const iovec> SendQueue::next() {
  const MutexLock lock{mutex_};
  notified_ = false;
  const auto count = std::min(blocks_.size(), pieces_.size());
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t sent = i == 0 ? offset_ : 0;
    pieces_[i] = {blocks_[i].data() + sent, blocks_[i].size() - sent};
  }
  return std::span{pieces_}.first(count);
}

void SendQueue::remove(std::size_t bytes) {
  const MutexLock lock{mutex_};
  size_ -= bytes;
  offset_ += bytes;
  while (!blocks_.empty() && offset_ >= blocks_.front().size()) {
    offset_ -= blocks_.front().size();
    blocks_.pop_front();
  }
}

void SendQueue::close() {
  const MutexLock lock{mutex_};
  closed_ = true;
  size_ = 0;
  blocks_.clear();
}

std::size_t SendQueue::size() const {
  const MutexLock lock{mutex_};
  return size_;
}

}  // namespace tessel::platform
