#include "tests/platform/libav/Decoder.h"

#include <cstring>

namespace tessel::platform {

Decoder::Decoder()
    : context_{avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))},
      packet_{av_packet_alloc()},
      frame_{av_frame_alloc()} {
  context_->thread_count = 1;
  context_->flags |= AV_CODEC_FLAG_LOW_DELAY;
  context_->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_BUFFER;
  avcodec_open2(context_.get(), nullptr, nullptr);
}

const AVFrame* Decoder::decode(std::span<const std::uint8_t> bytes) {
  if (av_new_packet(packet_.get(), static_cast<int>(bytes.size())) != 0) return nullptr;
  std::memcpy(packet_->data, bytes.data(), bytes.size());
  const int sent = avcodec_send_packet(context_.get(), packet_.get());
  av_packet_unref(packet_.get());
  if (sent != 0 || avcodec_receive_frame(context_.get(), frame_.get()) != 0) return nullptr;
  return frame_.get();
}

}  // namespace tessel::platform
