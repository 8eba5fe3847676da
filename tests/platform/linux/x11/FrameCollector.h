#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"

namespace tessel::platform {

/// Keeps the frames that a capture delivers, and waits for them. Any thread.
class FrameCollector final : public CaptureOutputDelegate {
 public:
  void didOutputSampleBuffer(const SampleBuffer& sampleBuffer) override {
    std::unique_lock lock{mutex_};
    frames_.push_back(sampleBuffer);
    changed_.notify_all();
    changed_.wait(lock, [this] { return !blocked_; });
  }

  void didDropSampleBuffer(const SampleBuffer&) override {
    const std::lock_guard lock{mutex_};
    ++drops_;
    changed_.notify_all();
  }

  /// The first frame for which `wanted` holds; null after `timeout`.
  std::shared_ptr<const PixelBuffer> waitFor(
      const std::function<bool(const PixelBuffer&)>& wanted,
      std::chrono::milliseconds timeout = std::chrono::seconds{10}) {
    std::unique_lock lock{mutex_};
    std::shared_ptr<const PixelBuffer> found;
    std::size_t next = 0;
    changed_.wait_for(lock, timeout, [&] {
      for (; !found && next < frames_.size(); ++next) {
        if (wanted(*frames_[next].imageBuffer)) found = frames_[next].imageBuffer;
      }
      return found != nullptr;
    });
    return found;
  }

  /// Whether `count` frames have come within `timeout`.
  bool waitForCount(std::size_t count,
                    std::chrono::milliseconds timeout = std::chrono::seconds{10}) {
    std::unique_lock lock{mutex_};
    return changed_.wait_for(lock, timeout, [&] { return frames_.size() >= count; });
  }

  std::vector<SampleBuffer> frames() const {
    const std::lock_guard lock{mutex_};
    return frames_;
  }

  int drops() const {
    const std::lock_guard lock{mutex_};
    return drops_;
  }

  /// While blocked, the delegate's call of a frame does not return.
  void setBlocked(bool blocked) {
    const std::lock_guard lock{mutex_};
    blocked_ = blocked;
    changed_.notify_all();
  }

 private:
  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::vector<SampleBuffer> frames_;
  int drops_ = 0;
  bool blocked_ = false;
};

}  // namespace tessel::platform
