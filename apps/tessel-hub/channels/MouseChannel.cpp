#include "apps/tessel-hub/channels/MouseChannel.h"

#include <utility>

#include "wire/ChannelCommand.h"

namespace tessel::hub {

MouseChannel::MouseChannel(std::shared_ptr<ChannelStream> stream, Handlers handlers)
    : stream_{std::move(stream)}, handlers_{std::move(handlers)} {}

void MouseChannel::start() { read(); }

void MouseChannel::close() {
  closed_ = true;
  stream_->close();
}

void MouseChannel::read() {
  stream_->read(buffer_, [self = shared_from_this()](std::size_t count) {
    if (self->closed_) return;
    if (count > 0 && self->messages_.feed(std::span{self->buffer_}.first(count))) {
      if (!self->closed_) self->read();
      return;
    }
    self->close();
    self->handlers_.ended();
  });
}

void MouseChannel::onCursorCommand() { stream_->send(kCursorReply); }

void MouseChannel::onCaptureCommand() {
  stream_->send(kCaptureReply);
  handlers_.ready();
}

void MouseChannel::onCursor(int x, int y) { handlers_.cursor(x, y); }

}  // namespace tessel::hub
