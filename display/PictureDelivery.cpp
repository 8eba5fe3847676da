#include "display/PictureDelivery.h"

#include <utility>

namespace tessel {

using platform::MutexLock;

void PictureDelivery::reset() {
  const MutexLock lock{mutex_};
  newest_ = nullptr;
  inEncoder_.clear();
}

void PictureDelivery::captured(Picture newest) {
  const MutexLock lock{mutex_};
  std::swap(newest_, newest);  // the old one is let go without the lock
  ++number_;
}

PictureDelivery::Picture PictureDelivery::owed() const {
  const MutexLock lock{mutex_};
  const bool underWay = !inEncoder_.empty() && inEncoder_.back().number == number_;
  return underWay ? nullptr : newest_;
}

void PictureDelivery::submitted(platform::Clock::Duration uptime) {
  const MutexLock lock{mutex_};
  inEncoder_.push_back({number_, uptime});
}

void PictureDelivery::refused() {
  const MutexLock lock{mutex_};
  if (!inEncoder_.empty()) inEncoder_.pop_back();
}

void PictureDelivery::finished(bool delivered) {
  const MutexLock lock{mutex_};
  if (inEncoder_.empty()) return;
  if (delivered && inEncoder_.front().number == number_) newest_ = nullptr;
  inEncoder_.pop_front();
}

std::size_t PictureDelivery::inEncoder() const {
  const MutexLock lock{mutex_};
  return inEncoder_.size();
}

std::optional<platform::Clock::Duration> PictureDelivery::oldestSubmission() const {
  const MutexLock lock{mutex_};
  if (inEncoder_.empty()) return std::nullopt;
  return inEncoder_.front().uptime;
}

}  // namespace tessel
