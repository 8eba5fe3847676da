#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>

#include "platform/Queues.h"
#include "platform/ScreenCapture.h"
#include "platform/base/Mutex.h"

namespace tessel::platform {

/// Delivers captured frames to their delegate: on its queue, one at a time, and none after `stop`.
/// Common to all kinds of capture sessions. Any thread.
class SampleDelivery : public std::enable_shared_from_this<SampleDelivery> {
 public:
  SampleDelivery(std::weak_ptr<CaptureOutputDelegate> delegate, std::shared_ptr<SerialQueue> queue);

  void start();

  /// Waits for a delegate call under way, unless called from within it. No call begins after it has
  /// returned.
  void stop();

  /// Whether a frame delivered now would be late, because an earlier one is still being handled.
  bool busy() const;

  void deliver(SampleBuffer sampleBuffer);

  /// Reports a frame that came too late.
  void drop(SampleBuffer sampleBuffer);

 private:
  using Call = void (CaptureOutputDelegate::*)(const SampleBuffer&);
  void post(Call call, SampleBuffer sampleBuffer, bool counted);
  void run(Call call, const SampleBuffer& sampleBuffer, bool counted, std::uint64_t run);

  const std::weak_ptr<CaptureOutputDelegate> delegate_;
  const std::shared_ptr<SerialQueue> queue_;

  mutable Mutex mutex_;
  std::condition_variable ended_;
  bool running_ TESSEL_GUARDED_BY(mutex_) = false;
  bool calling_ TESSEL_GUARDED_BY(mutex_) = false;   // a delegate call is under way
  int frames_ TESSEL_GUARDED_BY(mutex_) = 0;         // delivered, not yet handled
  std::uint64_t run_ TESSEL_GUARDED_BY(mutex_) = 0;  // of starts; earlier runs' calls are void
};

}  // namespace tessel::platform
