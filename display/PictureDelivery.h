#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "platform/Clock.h"
#include "platform/ScreenCapture.h"
#include "platform/base/Mutex.h"

namespace tessel {

/// Follows pictures from their capture through the encoder, and tells which one is still owed to
/// the hub: the newest, unless it has been delivered or is in the encoder. A newer picture replaces
/// an older one that is owed. Any thread.
class PictureDelivery {
 public:
  using Picture = std::shared_ptr<const platform::PixelBuffer>;

  /// Nothing is captured, nothing in the encoder.
  void reset();

  void captured(Picture newest);

  /// The picture that is owed; null if none is.
  Picture owed() const;

  /// The newest picture is about to be handed to the encoder.
  void submitted(platform::Clock::Duration uptime);
  /// The encoder has refused it.
  void refused();
  /// The encoder's output for the oldest of its pictures was handled. `delivered` is false if the
  /// picture was lost on the way.
  void finished(bool delivered);

  std::size_t inEncoder() const;
  /// When the oldest picture in the encoder was submitted.
  std::optional<platform::Clock::Duration> oldestSubmission() const;

 private:
  struct Submission {
    std::uint64_t number;
    platform::Clock::Duration uptime;
  };

  mutable platform::Mutex mutex_;
  Picture newest_ TESSEL_GUARDED_BY(mutex_);            // null once delivered
  std::uint64_t number_ TESSEL_GUARDED_BY(mutex_) = 0;  // of the newest picture, counted from 1
  // In the order of submission, which is that of the output: the encoder reorders nothing.
  std::deque<Submission> inEncoder_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel
