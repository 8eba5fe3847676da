#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
}

namespace tessel::platform {

struct LibavDelete {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};

using CodecContext = std::unique_ptr<AVCodecContext, LibavDelete>;
using Frame = std::unique_ptr<AVFrame, LibavDelete>;
using Packet = std::unique_ptr<AVPacket, LibavDelete>;
using BufferReference = std::unique_ptr<AVBufferRef, LibavDelete>;

}  // namespace tessel::platform
