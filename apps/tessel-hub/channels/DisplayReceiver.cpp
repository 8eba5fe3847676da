#include "apps/tessel-hub/channels/DisplayReceiver.h"

#include <cassert>
#include <utility>

namespace tessel::hub {
namespace {

constexpr std::size_t kReadSize = std::size_t{64} << 10;

}  // namespace

DisplayReceiver::DisplayReceiver(std::shared_ptr<ChannelStream> stream, FrameAssembler::Sink& sink,
                                 EndHandler ended)
    : stream_{std::move(stream)}, assembler_{sink}, ended_{std::move(ended)}, buffer_(kReadSize) {}

void DisplayReceiver::start() { read(); }

void DisplayReceiver::resume() {
  assert(thread_.isCurrent());
  if (!std::exchange(paused_, false) || reading_ || closed_) return;
  read();
}

void DisplayReceiver::close() {
  closed_ = true;
  stream_->close();
}

void DisplayReceiver::read() {
  reading_ = true;
  stream_->read(buffer_, [self = shared_from_this()](std::size_t count) { self->received(count); });
}

void DisplayReceiver::received(std::size_t count) {
  assert(thread_.isCurrent());
  reading_ = false;
  if (closed_) return;
  if (count == 0) return end({});
  const bool inStep = assembler_.feed(std::span{buffer_}.first(count));
  if (closed_) return;
  if (!inStep) return end(assembler_.problem());
  if (!paused_) read();
}

void DisplayReceiver::end(const std::string& problem) {
  close();
  ended_(problem);
}

}  // namespace tessel::hub
