#include "apps/tessel-hub/video/FramePipeline.h"

#include <cassert>
#include <exception>
#include <utility>

#include "platform/media/TestPattern.h"
#include "platform/posix/Thread.h"

namespace tessel::hub {

FramePipeline::FramePipeline(Settings settings, HubScreen& screen, StreamRecorder& recorder,
                             Handlers handlers)
    : settings_{settings},
      screen_{screen},
      recorder_{recorder},
      handlers_{std::move(handlers)},
      thread_{platform::startThread("hub.video", [this] { run(); })} {}

FramePipeline::~FramePipeline() {
  {
    const platform::MutexLock lock{mutex_};
    abandoned_ = true;
    changed_.notify_one();
  }
  thread_.join();
}

bool FramePipeline::push(std::vector<std::uint8_t> frame) {
  assert(owner_.isCurrent());
  const platform::MutexLock lock{mutex_};
  queuedBytes_ += frame.size();
  frames_.push_back({++pushed_, std::move(frame)});
  changed_.notify_one();
  return !full();
}

void FramePipeline::finish() {
  assert(owner_.isCurrent());
  const platform::MutexLock lock{mutex_};
  finishing_ = true;
  changed_.notify_one();
}

void FramePipeline::run() {
  try {
    VideoDecoder decoder{settings_.width, settings_.height};
    while (const std::optional<Frame> frame = take()) handle(decoder, *frame);
  } catch (const std::exception& error) {
    handlers_.trouble(std::string{"The pictures cannot be decoded: "} + error.what() + ".");
    while (const std::optional<Frame> frame = take()) {
      handlers_.done({.number = frame->number, .bytes = frame->bytes.size()});
    }
  }
  handlers_.finished();
}

std::optional<FramePipeline::Frame> FramePipeline::take() {
  platform::MutexLock lock{mutex_};
  while (!abandoned_ && !finishing_ && frames_.empty()) changed_.wait(lock.native());
  if (abandoned_ || frames_.empty()) return std::nullopt;
  const bool wasFull = full();
  Frame frame = std::move(frames_.front());
  frames_.pop_front();
  queuedBytes_ -= frame.bytes.size();
  const bool room = wasFull && !full();
  lock.unlock();
  if (room) handlers_.room();
  return frame;
}

void FramePipeline::handle(VideoDecoder& decoder, const Frame& frame) {
  if (!recorder_.write(frame.bytes)) {
    handlers_.trouble("The recording could not be written and ends here; is the disk full?");
  }
  FrameReport report{.number = frame.number, .bytes = frame.bytes.size()};
  const std::optional<Picture> picture = decoder.decode(frame.bytes, report.problem);
  if (!picture) {
    report.time = std::chrono::steady_clock::now();
    return handlers_.done(std::move(report));
  }
  if (settings_.readCounters) {
    report.counter =
        platform::readFrameCounter(picture->y, picture->yStride, picture->width, picture->height);
  }
  handlers_.decoded(*picture);
  screen_.show(*picture, [done = handlers_.done, report = std::move(report)](bool shown) mutable {
    report.shown = shown;
    report.time = std::chrono::steady_clock::now();
    done(std::move(report));
  });
}

}  // namespace tessel::hub
