#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>

#include "platform/Queues.h"
#include "platform/ScreenCapture.h"

namespace tessel::platform {

/// Brings captured frames to their delegate: on its queue, one at a time, and none after `stop`.
/// What capture sessions of every kind have in common. Any thread.
class SampleDelivery : public std::enable_shared_from_this<SampleDelivery> {
 public:
  SampleDelivery(std::weak_ptr<CaptureOutputDelegate> delegate, std::shared_ptr<SerialQueue> queue);

  void start();

  /// Waits for a delegate call under way, unless it is called from that call. No call begins after
  /// it has returned.
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

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable ended_;
  bool running_ = false;
  bool calling_ = false;   // a delegate call is under way
  int frames_ = 0;         // delivered, not yet handled
  std::uint64_t run_ = 0;  // counts the starts: calls posted in an earlier run are void
};

}  // namespace tessel::platform
