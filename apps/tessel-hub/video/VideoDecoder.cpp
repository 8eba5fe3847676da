#include "apps/tessel-hub/video/VideoDecoder.h"

#include <array>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
}

namespace tessel::hub {
namespace {

// Encoders round sizes up to whole blocks and may round twice.
constexpr std::int64_t kMaxPadding = 64;

std::string describe(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  return av_strerror(error, text.data(), text.size()) == 0 ? text.data() : std::to_string(error);
}

}  // namespace

void VideoDecoder::Free::operator()(AVCodecContext* context) const {
  avcodec_free_context(&context);
}
void VideoDecoder::Free::operator()(AVFrame* frame) const { av_frame_free(&frame); }
void VideoDecoder::Free::operator()(AVPacket* packet) const { av_packet_free(&packet); }

VideoDecoder::VideoDecoder(int width, int height) {
  av_log_set_level(AV_LOG_QUIET);  // decode() reports what is wrong with a stream
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
  if (codec == nullptr) throw std::runtime_error{"this machine's libavcodec cannot decode H.264"};
  context_.reset(avcodec_alloc_context3(codec));
  packet_.reset(av_packet_alloc());
  if (!context_ || !packet_) throw std::bad_alloc{};
  context_->flags |= AV_CODEC_FLAG_LOW_DELAY;
  // Frame threads would each delay the output by one picture.
  context_->thread_type = FF_THREAD_SLICE;
  context_->thread_count = 2;
  context_->max_pixels = (width + kMaxPadding) * (height + kMaxPadding);
  if (const int error = avcodec_open2(context_.get(), codec, nullptr); error < 0) {
    throw std::runtime_error{"the H.264 decoder does not start: " + describe(error)};
  }
}

VideoDecoder::~VideoDecoder() = default;

std::optional<Picture> VideoDecoder::decode(std::span<const std::uint8_t> frame,
                                            std::string& problem) {
  problem.clear();
  if (frame.empty()) return std::nullopt;
  // Frames come from the assembler, which bounds them far below this.
  if (frame.size() > INT_MAX / 2) return std::nullopt;
  if (const int error = av_new_packet(packet_.get(), static_cast<int>(frame.size())); error < 0) {
    problem = describe(error);
    return std::nullopt;
  }
  std::memcpy(packet_->data, frame.data(), frame.size());
  const int sent = avcodec_send_packet(context_.get(), packet_.get());
  av_packet_unref(packet_.get());
  if (sent < 0) {
    problem = describe(sent);
    return std::nullopt;
  }
  return receive(problem);
}

std::optional<Picture> VideoDecoder::receive(std::string& problem) {
  // A packet may hold several pictures; only the last one is shown.
  std::optional<Picture> picture;
  while (true) {
    std::unique_ptr<AVFrame, Free> decoded{av_frame_alloc()};
    if (!decoded) throw std::bad_alloc{};
    const int error = avcodec_receive_frame(context_.get(), decoded.get());
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return picture;
    if (error < 0) {
      problem = describe(error);
      return picture;
    }
    if (decoded->format != AV_PIX_FMT_YUV420P && decoded->format != AV_PIX_FMT_YUVJ420P) {
      problem = "the picture is not in 4:2:0 with 8 bits";
      continue;
    }
    const std::shared_ptr<const AVFrame> frame{decoded.release(), Free{}};
    picture = Picture{
        .width = frame->width,
        .height = frame->height,
        .y = frame->data[0],
        .u = frame->data[1],
        .v = frame->data[2],
        .yStride = frame->linesize[0],
        .uStride = frame->linesize[1],
        .vStride = frame->linesize[2],
        .fullRange = frame->color_range == AVCOL_RANGE_JPEG || frame->format == AV_PIX_FMT_YUVJ420P,
        .bt709 = frame->colorspace == AVCOL_SPC_BT709,
        .memory = frame,
    };
  }
}

}  // namespace tessel::hub
