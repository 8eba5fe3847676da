#include "platform/libav/LibavEncoder.h"

#include <array>
#include <libyuv.h>
#include <string_view>
#include <variant>

#include "platform/libav/LibavSilence.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/hwcontext.h>
}

namespace tessel::platform {
namespace {

// x264's QP at which a desktop's text is sharp. It is held constant: x264's own rate control costs
// as much again as encoding, since it analyses each frame twice, and it counts frames where time
// has to count (of slides shown a minute apart, the third was blurred). Key frames get a QP lower
// by three: a better reference leaves more to skip.
constexpr const char* kQuantiser = "qp";
constexpr int kSharp = 23;

// For encoders that take nothing but a rate. The buffer has room for the key frame of a page of
// text.
constexpr std::int64_t kMeanBitRate = 6'000'000;
constexpr std::int64_t kMaxBitRate = 12'000'000;
constexpr int kRateBuffer = 9'000'000;

// Between key frames while the screen changes all the time (the unit is frames). A recording can be
// sought there. No shorter: a reliable channel loses nothing, and a key frame is the most expensive
// frame there is.
constexpr int kKeyFrameSeconds = 10;

// Added to the level of each of a context's messages: above all levels that are shown, and within
// the byte that holds a level.
constexpr int kSilent = 100;

// Options of a call to libav; freed with those that the call did not know.
class Options {
 public:
  Options() = default;
  ~Options() { av_dict_free(&dictionary_); }
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  void set(const char* name, const char* value) { av_dict_set(&dictionary_, name, value, 0); }
  AVDictionary** get() { return &dictionary_; }

 private:
  AVDictionary* dictionary_ = nullptr;
};

}  // namespace

StatusOr<std::unique_ptr<H264Encoder>> LibavEncoder::open(const EncoderCandidate& candidate,
                                                          const EncoderSettings& settings) {
  std::unique_ptr<LibavEncoder> encoder{new LibavEncoder{candidate, settings}};
  const Status status = encoder->configure(0);
  if (status != 0) return status;
  return encoder;
}

bool LibavEncoder::holdsQuantiser() const { return std::string_view{candidate_.name} == "libx264"; }

Status LibavEncoder::configure(int coarseness) {
  coarseness_.reset();
  const AVCodec* codec = avcodec_find_encoder_by_name(candidate_.name);
  if (codec == nullptr) return AVERROR_ENCODER_NOT_FOUND;
  context_.reset(avcodec_alloc_context3(codec));
  packet_.reset(av_packet_alloc());
  if (!context_ || !packet_) return AVERROR(ENOMEM);

  AVCodecContext& context = *context_;
  context.log_level_offset = kSilent;
  describePictures(context);
  context.max_b_frames = 0;
  context.gop_size = kKeyFrameSeconds * settings_.framesPerSecond;
  if (!holdsQuantiser()) {
    context.bit_rate = kMeanBitRate;
    context.rc_max_rate = kMaxBitRate;
    context.rc_buffer_size = kRateBuffer;
  }
  context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  context.thread_count = 1;
  if (const Status status = prepareDevice(); status != 0) return status;

  Options options;
  if (holdsQuantiser()) options.set(kQuantiser, std::to_string(kSharp + coarseness).c_str());
  for (const auto& [name, value] : candidate_.options) {
    if (name == nullptr) break;
    options.set(name, value);
  }
  const LibavSilence silence;
  const Status status = avcodec_open2(context_.get(), codec, options.get());
  if (status == 0) coarseness_ = coarseness;
  return status;
}

void LibavEncoder::describePictures(AVCodecContext& context) const {
  context.width = settings_.width;
  context.height = settings_.height;
  context.pix_fmt = candidate_.format;
  context.time_base = {1, settings_.framesPerSecond};
  context.framerate = {settings_.framesPerSecond, 1};
  // The colours that captures convert to, told to the receiver within the stream.
  context.color_range = AVCOL_RANGE_MPEG;
  context.colorspace = AVCOL_SPC_SMPTE170M;
  context.color_primaries = AVCOL_PRI_BT709;
  context.color_trc = AVCOL_TRC_BT709;
  context.chroma_sample_location = AVCHROMA_LOC_CENTER;
}

// Pictures for a device that encodes from its own memory.
Status LibavEncoder::prepareDevice() {
  if (candidate_.device == AV_HWDEVICE_TYPE_NONE) return 0;
  const LibavSilence silence;
  AVBufferRef* created = nullptr;
  Status status = av_hwdevice_ctx_create(&created, candidate_.device, nullptr, nullptr, 0);
  if (status < 0) return status;
  const BufferReference device{created};
  frames_.reset(av_hwframe_ctx_alloc(device.get()));
  if (!frames_) return AVERROR(ENOMEM);
  auto& frames = *reinterpret_cast<AVHWFramesContext*>(frames_->data);
  frames.format = AV_PIX_FMT_VAAPI;
  frames.sw_format = candidate_.format;
  frames.width = settings_.width;
  frames.height = settings_.height;
  frames.initial_pool_size = 4;
  status = av_hwframe_ctx_init(frames_.get());
  if (status < 0) return status;
  context_->pix_fmt = frames.format;
  context_->hw_frames_ctx = av_buffer_ref(frames_.get());
  return context_->hw_frames_ctx == nullptr ? AVERROR(ENOMEM) : 0;
}

std::span<const std::uint8_t> LibavEncoder::extradata() const {
  return {context_->extradata, static_cast<std::size_t>(context_->extradata_size)};
}

std::string LibavEncoder::describe(Status status) {
  switch (status) {
    case AVERROR_ENCODER_NOT_FOUND:
      return "There is no H.264 encoder: install libavcodec with libx264.";
    case AVERROR_EOF:
      return "The encoder has been ended.";
    default: {
      std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
      av_strerror(status, text.data(), text.size());
      return text.data();
    }
  }
}

Status LibavEncoder::setCoarseness(int steps) {
  return coarseness_ == steps ? 0 : configure(steps);
}

Status LibavEncoder::send(const std::shared_ptr<const PixelBuffer>& picture,
                          std::int64_t timestamp) {
  Frame frame = candidate_.format == AV_PIX_FMT_NV12 ? convert(*picture) : wrap(picture);
  if (frame && frames_) frame = upload(*frame);
  if (!frame) return AVERROR(ENOMEM);
  frame->pts = timestamp;
  return avcodec_send_frame(context_.get(), frame.get());
}

std::optional<EncoderPacket> LibavEncoder::receive(Status& status) {
  const int result = avcodec_receive_packet(context_.get(), packet_.get());
  status = result == AVERROR(EAGAIN) ? 0 : result;
  if (result != 0) return std::nullopt;
  return EncoderPacket{{packet_->data, static_cast<std::size_t>(packet_->size)},
                       (packet_->flags & AV_PKT_FLAG_KEY) != 0};
}

// A frame of the encoder's size and format, without memory for its picture.
Frame LibavEncoder::makeFrame() const {
  Frame frame{av_frame_alloc()};
  if (!frame) return nullptr;
  frame->format = candidate_.format;
  frame->width = context_->width;
  frame->height = context_->height;
  return frame;
}

// A frame that shows the picture's own memory, and keeps it alive.
Frame LibavEncoder::wrap(const std::shared_ptr<const PixelBuffer>& picture) const {
  Frame frame = makeFrame();
  if (!frame) return nullptr;
  auto held = std::make_unique<std::shared_ptr<const PixelBuffer>>(picture);
  const auto release = [](void* opaque, std::uint8_t*) {
    delete static_cast<std::shared_ptr<const PixelBuffer>*>(opaque);
  };
  // Encoders only read it. The buffer stands for all planes; its size is that of the first.
  auto* first = const_cast<std::uint8_t*>(picture->planes[0]);
  frame->buf[0] = av_buffer_create(
      first,
      static_cast<std::size_t>(picture->strides[0]) * static_cast<std::size_t>(picture->height),
      release, held.get(), AV_BUFFER_FLAG_READONLY);
  if (frame->buf[0] == nullptr) return nullptr;
  static_cast<void>(held.release());  // the buffer's now
  for (std::size_t plane = 0; plane < 3; ++plane) {
    frame->data[plane] = const_cast<std::uint8_t*>(picture->planes[plane]);
    frame->linesize[plane] = picture->strides[plane];
  }
  return frame;
}

// A copy with the two planes of chroma interleaved, the format of most hardware.
Frame LibavEncoder::convert(const PixelBuffer& picture) const {
  Frame frame = makeFrame();
  if (!frame || av_frame_get_buffer(frame.get(), 0) != 0) return nullptr;
  libyuv::I420ToNV12(picture.planes[0], picture.strides[0], picture.planes[1], picture.strides[1],
                     picture.planes[2], picture.strides[2], frame->data[0], frame->linesize[0],
                     frame->data[1], frame->linesize[1], frame->width, frame->height);
  return frame;
}

Frame LibavEncoder::upload(const AVFrame& picture) const {
  Frame frame{av_frame_alloc()};
  if (!frame || av_hwframe_get_buffer(frames_.get(), frame.get(), 0) != 0 ||
      av_hwframe_transfer_data(frame.get(), &picture, 0) != 0) {
    return nullptr;
  }
  return frame;
}

}  // namespace tessel::platform
