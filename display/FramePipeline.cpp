#include "display/FramePipeline.h"

#include <algorithm>
#include <cassert>
#include <cinttypes>
#include <utility>

#include "display/AnnexB.h"
#include "display/FrameSender.h"
#include "platform/Log.h"
#include "platform/Services.h"

// Frames on their way. Capture and encoder are made in FramePipelineSetUp.cpp.
namespace tessel {
namespace {

using platform::Clock;
using platform::Status;

constexpr const char* kOutput =
    "-[TSLDisplayConnection captureOutput:didOutputSampleBuffer:fromConnection:]";
constexpr const char* kDrop =
    "-[TSLDisplayConnection captureOutput:didDropSampleBuffer:fromConnection:]";
constexpr const char* kCompressed =
    "-[TSLDisplayConnection compressionOutputCompletedWithStatus:infoFlags:sampleBuffer:]";

constexpr std::int64_t kFramesInFlight = 6;

// One being encoded and one waiting: more would only be older when they are shown.
constexpr std::size_t kMaxFramesInEncoder = 2;

// Bounds the memory of a channel whose hub acknowledges without reading. The credits keep an honest
// hub far below.
constexpr std::size_t kMaxUnsentBytes = std::size_t{32} << 20U;

// How often the pause after a lost frame is doubled: up to a second.
constexpr int kMaxDoublings = 5;

// Status of encoding without an encoder: an invalid session.
constexpr Status kNoEncoder = -12903;

// Number of the next frame of any display channel. Channels side by side share it.
std::atomic<std::int64_t> frameCounter{1};

}  // namespace

FramePipeline::FramePipeline(std::shared_ptr<DisplayChannel> channel)
    : channel_{std::move(channel)},
      queue_{platform::services().queues->makeSerialQueue("org.tessel.sampleBuffer")} {}

void FramePipeline::begin() {
  stopped_ = false;
  failures_ = 0;
  pictures_.reset();
  credits_.set(kFramesInFlight);
}

void FramePipeline::start() {
  const auto capture = capture_.get();
  capture->startRunning();
  if (stopped_) capture->stopRunning();  // a stop that came in between did not find it running
}

void FramePipeline::stop() {
  stopped_ = true;
  if (const auto capture = capture_.get()) capture->stopRunning();
  if (const auto encoder = encoder_.get()) encoder->invalidate();
  pictures_.reset();
}

void FramePipeline::discardEncoder() {
  stopped_ = true;
  auto encoder = encoder_.get();
  if (!encoder) return;
  encoder_.set(nullptr);
  queue_->async([encoder = std::move(encoder)] { encoder->invalidate(); });
}

TSLSessionStatistics FramePipeline::statistics() const {
  TSLSessionStatistics statistics = statistics_.snapshot();
  statistics.credits = credits();
  return statistics;
}

void FramePipeline::acknowledged() {
  credits_.give();
  postOwed();
}

// The picture is noted as owed before it is known whether it can go out: what makes room later sees
// that it is owed, what makes room earlier is seen here.
void FramePipeline::didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) {
  assert(queue_->isCurrent());
  statistics_.captured();
  if (sampleBuffer.imageBuffer) pictures_.captured(sampleBuffer.imageBuffer);
  if (!takeSlot()) {
    statistics_.dropped();
  } else if (sampleBuffer.imageBuffer) {
    submit(sampleBuffer.imageBuffer);
  } else {
    platform::log("%s: unable to get CVPixelBufferRef for frame %" PRId64, kOutput, frameCounter++);
  }
}

void FramePipeline::didDropSampleBuffer(const platform::SampleBuffer&) {
  assert(queue_->isCurrent());
  statistics_.dropped();
  platform::log("%s", kDrop);
}

// Whether one more frame may be encoded now. Takes its credit, which only the hub's acknowledgement
// gives back: a frame that is lost on its way costs it for good.
bool FramePipeline::takeSlot() {
  if (channel_->unsentBytes() > kMaxUnsentBytes) {
    rest(kFrameInterval);  // nothing reports that the bytes have gone
    return false;
  }
  return pictures_.inEncoder() < kMaxFramesInEncoder && credits_.take();
}

void FramePipeline::submit(const PictureDelivery::Picture& picture) {
  const std::int64_t frame = frameCounter++;
  const auto encoder = encoder_.get();
  pictures_.submitted(platform::services().clock->uptime());
  const Status status =
      encoder ? encoder->encodeFrame(picture, {frame, kFramesPerSecond}) : kNoEncoder;
  if (status == 0) return;
  pictures_.refused();
  if (stopped_) return;  // a stop on another thread has ended the encoder
  platform::log("%s: error encoding frame %" PRId64 ". status: %d", kOutput, frame, status);
  ++failures_;
  didLoseFrame();
}

// Any thread.
void FramePipeline::postOwed() {
  if (!pictures_.owed()) return;
  queue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->deliverOwed();
  });
}

void FramePipeline::deliverOwed() {
  assert(queue_->isCurrent());
  if (restTimer_ || stopped_ || !channel_->connected()) return;
  const auto picture = pictures_.owed();
  if (picture && takeSlot()) submit(picture);
}

// Owed pictures wait for a while that grows with the number of failures, so that an encoder that is
// broken for good costs little. Captured frames do not wait: each takes its credit.
void FramePipeline::didLoseFrame() {
  assert(queue_->isCurrent());
  rest(kFrameInterval * (1 << std::clamp(failures_ - 1, 0, kMaxDoublings)));
}

void FramePipeline::rest(Clock::Duration duration) {
  if (restTimer_) return;
  restTimer_ =
      platform::services().queues->makeTimer(queue_, duration, duration, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->restTimer_ = nullptr;
        self->deliverOwed();
      });
  restTimer_->resume();
}

void FramePipeline::compressionOutputCompletedWithStatus(
    Status status, std::uint32_t infoFlags, const platform::EncodedSampleBuffer* sampleBuffer) {
  const Clock::Duration uptime = platform::services().clock->uptime();
  statistics_.encoded(uptime - pictures_.oldestSubmission().value_or(uptime),
                      status == 0 && sampleBuffer != nullptr);
  const bool delivered = handleOutput(status, infoFlags, sampleBuffer);
  if (delivered) {
    failures_ = 0;
  } else {
    ++failures_;
    // Before the picture counts as owed again, so that no acknowledgement comes first.
    queue_->async([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->didLoseFrame();
    });
  }
  pictures_.finished(delivered);
  postOwed();  // there is room for a picture that came late
}

// False if the frame is lost. One that is not sent because the channel is down is not: there is
// nothing left to send it to.
bool FramePipeline::handleOutput(Status status, std::uint32_t infoFlags,
                                 const platform::EncodedSampleBuffer* sampleBuffer) {
  if (status != 0) {
    platform::log("%s: Compression failed. status: %d, frame dropped: %s", kCompressed, status,
                  (infoFlags & platform::kInfoFrameDropped) != 0 ? "YES" : "NO");
    return false;
  }
  if (sampleBuffer == nullptr) {
    platform::log("%s: Successful status but NULL sampleBuffer!", kCompressed);
    return false;
  }
  const Bytes* stream = elementaryStreamFromSampleBuffer(*sampleBuffer);
  if (stream == nullptr) return false;
  if (channel_->connected()) sendSampleBuffer(stream->data(), stream->size());
  return true;
}

const Bytes* FramePipeline::elementaryStreamFromSampleBuffer(
    const platform::EncodedSampleBuffer& sampleBuffer) {
  return convertToAnnexB(sampleBuffer, elementaryStream_) ? &elementaryStream_ : nullptr;
}

void FramePipeline::sendSampleBuffer(const void* bytes, std::size_t length) {
  sendFrame(*channel_, bytes, length);
}

}  // namespace tessel
