#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/common/ThreadChecker.h"
#include "apps/tessel-hub/report/FrameReport.h"
#include "apps/tessel-hub/video/HubScreen.h"
#include "apps/tessel-hub/video/Picture.h"
#include "apps/tessel-hub/video/StreamRecorder.h"
#include "apps/tessel-hub/video/VideoDecoder.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {

/// Records, decodes and shows one session's frames, in their order, on a thread of its own.
///
/// `push` and `finish` are called on one thread; handlers are called on others and must not call
/// back.
class FramePipeline {
 public:
  struct Settings {
    int width = 0;
    int height = 0;
    /// Whether to read the frame number that a test picture carries.
    bool readCounters = false;
  };

  struct Handlers {
    /// Each picture as soon as it is decoded.
    std::function<void(const Picture&)> decoded;
    /// Once for every frame pushed.
    std::function<void(FrameReport)> done;
    /// The queue was full and has room again.
    std::function<void()> room;
    /// After `finish`: every frame is done or handed to the screen, which may still show the last.
    std::function<void()> finished;
    /// Something that the user should know: a plain sentence.
    std::function<void(const std::string& sentence)> trouble;
  };

  /// `screen` and `recorder` outlive the pipeline.
  FramePipeline(Settings settings, HubScreen& screen, StreamRecorder& recorder, Handlers handlers);
  ~FramePipeline();

  FramePipeline(const FramePipeline&) = delete;
  FramePipeline& operator=(const FramePipeline&) = delete;

  /// False if this frame fills the queue: push no more until `room`.
  bool push(std::vector<std::uint8_t> frame);

  /// No further frame is pushed.
  void finish();

 private:
  struct Frame {
    std::uint64_t number = 0;
    std::vector<std::uint8_t> bytes;
  };

  // A sender has at most six frames unacknowledged.
  static constexpr std::size_t kMaxFrames = 12;
  static constexpr std::size_t kMaxBytes = std::size_t{16} << 20;

  bool full() const TESSEL_REQUIRES(mutex_) {
    return frames_.size() >= kMaxFrames || queuedBytes_ >= kMaxBytes;
  }
  void run();
  std::optional<Frame> take();
  void handle(VideoDecoder& decoder, const Frame& frame);

  const Settings settings_;
  HubScreen& screen_;
  StreamRecorder& recorder_;
  const Handlers handlers_;
  std::uint64_t pushed_ = 0;  // the owner's thread
  apps::ThreadChecker owner_;

  platform::Mutex mutex_;
  std::condition_variable changed_;
  std::deque<Frame> frames_ TESSEL_GUARDED_BY(mutex_);
  std::size_t queuedBytes_ TESSEL_GUARDED_BY(mutex_) = 0;
  bool finishing_ TESSEL_GUARDED_BY(mutex_) = false;
  bool abandoned_ TESSEL_GUARDED_BY(mutex_) = false;

  std::thread thread_;  // the last member: it uses the others
};

}  // namespace tessel::hub
