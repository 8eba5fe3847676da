#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/tessel-hub/report/FrameReport.h"
#include "apps/tessel-hub/video/HubScreen.h"
#include "apps/tessel-hub/video/Picture.h"
#include "apps/tessel-hub/video/StreamRecorder.h"
#include "apps/tessel-hub/video/VideoDecoder.h"

namespace tessel::hub {

/// Records, decodes and shows one session's frames, in their order, on a thread of its own.
///
/// Calls come from one thread, its owner's; handlers are called from others and must not call back.
class FramePipeline {
 public:
  struct Settings {
    int width = 0;
    int height = 0;
    /// Whether to look for the test picture's frame number.
    bool readCounters = false;
  };

  struct Handlers {
    /// Each picture as soon as it is decoded.
    std::function<void(const Picture&)> decoded;
    /// Once for every frame pushed.
    std::function<void(FrameReport)> done;
    /// A frame has been taken off a queue that was full.
    std::function<void()> room;
    /// After `finish`: every frame is done or with the screen, which may have the last one to show.
    std::function<void()> finished;
    std::function<void(const std::string& sentence)> trouble;
  };

  /// `screen` and `recorder` outlive the pipeline.
  FramePipeline(Settings settings, HubScreen& screen, StreamRecorder& recorder, Handlers handlers);
  ~FramePipeline();

  FramePipeline(const FramePipeline&) = delete;
  FramePipeline& operator=(const FramePipeline&) = delete;

  /// False if the queue is full with this frame: no more should come until `room`.
  bool push(std::vector<std::uint8_t> frame);

  /// No frame comes any more.
  void finish();

 private:
  struct Frame {
    std::uint64_t number = 0;
    std::vector<std::uint8_t> bytes;
  };

  // A well-behaved sender has six frames on their way.
  static constexpr std::size_t kMostFrames = 12;
  static constexpr std::size_t kMostBytes = std::size_t{16} << 20;

  bool full() const { return frames_.size() >= kMostFrames || queuedBytes_ >= kMostBytes; }
  void run();
  std::optional<Frame> take();
  void handle(VideoDecoder& decoder, const Frame& frame);

  const Settings settings_;
  HubScreen& screen_;
  StreamRecorder& recorder_;
  const Handlers handlers_;
  std::uint64_t pushed_ = 0;  // the owner's thread

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::deque<Frame> frames_;
  std::size_t queuedBytes_ = 0;
  bool finishing_ = false;
  bool abandoned_ = false;

  std::thread thread_;  // the last member: it uses the others
};

}  // namespace tessel::hub
