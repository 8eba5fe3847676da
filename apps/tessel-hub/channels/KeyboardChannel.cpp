#include "apps/tessel-hub/channels/KeyboardChannel.h"

#include <utility>

namespace tessel::hub {

KeyboardChannel::KeyboardChannel(std::shared_ptr<ChannelStream> stream, std::function<void()> ended)
    : stream_{std::move(stream)}, ended_{std::move(ended)} {}

void KeyboardChannel::start() {
  stream_->read(buffer_, [self = shared_from_this()](std::size_t count) {
    if (self->closed_) return;
    if (count > 0) return self->start();
    self->close();
    self->ended_();
  });
}

void KeyboardChannel::close() {
  closed_ = true;
  stream_->close();
}

}  // namespace tessel::hub
