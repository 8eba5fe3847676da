#include "platform/libav/LibavEncoder.h"

#include <array>
#include <libyuv.h>
#include <string_view>
#include <variant>

#include "platform/libav/EncoderCandidates.h"
#include "platform/libav/LibavSilence.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/posix/HostSignals.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/hwcontext.h>
}

namespace tessel::platform {
namespace {

// x264's quantiser at which a desktop's text is sharp. It is held there, for x264's own control of
// the rate costs as much again as encoding: every frame is looked at twice. And it counts frames
// where time has to count: of slides shown a minute apart, the third was a blur. Key frames come
// out three steps finer: a better reference leaves more to skip.
constexpr const char* kQuantiser = "qp";
constexpr int kSharp = 23;

// For encoders that know nothing but a rate. The buffer lets the key frame of a page full of text
// have what it needs.
constexpr std::int64_t kMeanBitRate = 6'000'000;
constexpr std::int64_t kMaximumBitRate = 12'000'000;
constexpr int kRateBuffer = 9'000'000;

// Of a screen that changes all the time; frames are what is counted. A recording that is wound
// forward finds its place again there. No more often: on a reliable channel nothing is lost, and a
// key frame is the most expensive frame there is.
constexpr int kKeyFrameSeconds = 10;

// Added to the level of every message of a context: below all that anybody listens for, and still
// within the byte that holds a level.
constexpr int kSilent = 100;

// Frames of a trial run: hardware that holds back more than this is of no use live.
constexpr int kTrialFrames = 3;

// Options of a call to libav; what the call did not understand is left over and let go.
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

StatusOr<std::unique_ptr<LibavEncoder>> LibavEncoder::openBest(const EncoderSettings& settings) {
  const HostSignalsBlocked inherited;          // by the threads that an encoder may start
  Status failure = AVERROR_ENCODER_NOT_FOUND;  // the first that is more than an absence
  const auto failed = [&failure](Status status) {
    if (failure == AVERROR_ENCODER_NOT_FOUND) failure = status;
  };
  for (const EncoderCandidate& candidate : encoderCandidates()) {
    if (!hasDevice(candidate)) continue;
    auto opened = open(candidate, settings);
    if (std::holds_alternative<Status>(opened)) {
      failed(std::get<Status>(opened));
      continue;
    }
    if (!candidate.hardware) return opened;
    // A driver may open and then fail, or hold frames back: it is asked for a few first, and
    // opened afresh so that the stream begins with a key frame.
    if (const Status status = std::get<std::unique_ptr<LibavEncoder>>(opened)->prove();
        status != 0) {
      failed(status);
      continue;
    }
    std::get<std::unique_ptr<LibavEncoder>>(opened).reset();
    opened = open(candidate, settings);
    if (std::holds_alternative<std::unique_ptr<LibavEncoder>>(opened)) return opened;
  }
  return failure;
}

StatusOr<std::unique_ptr<LibavEncoder>> LibavEncoder::open(const EncoderCandidate& candidate,
                                                           const EncoderSettings& settings) {
  std::unique_ptr<LibavEncoder> encoder{new LibavEncoder{candidate, settings}};
  const Status status = encoder->configure(0);
  if (status != 0) return status;
  return encoder;
}

bool LibavEncoder::isHardware() const { return candidate_.hardware; }

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
  context.width = settings_.width;
  context.height = settings_.height;
  context.pix_fmt = candidate_.format;
  context.time_base = {1, settings_.framesPerSecond};
  context.framerate = {settings_.framesPerSecond, 1};
  context.max_b_frames = settings_.allowsReordering ? 2 : 0;
  context.gop_size = kKeyFrameSeconds * settings_.framesPerSecond;
  if (!holdsQuantiser()) {
    context.bit_rate = kMeanBitRate;
    context.rc_max_rate = kMaximumBitRate;
    context.rc_buffer_size = kRateBuffer;
  }
  context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  context.thread_count = 1;
  // What the capture converts to, so that players show the right colours.
  context.color_range = AVCOL_RANGE_MPEG;
  context.colorspace = AVCOL_SPC_SMPTE170M;
  context.color_primaries = AVCOL_PRI_BT709;
  context.color_trc = AVCOL_TRC_BT709;
  context.chroma_sample_location = AVCHROMA_LOC_CENTER;

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

Status LibavEncoder::prove() {
  const LibavSilence silence;
  PixelBufferPool pool{settings_.width, settings_.height};
  const PooledPicture grey = pool.take();
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int rows = plane == 0 ? settings_.height : settings_.height / 2;
    libyuv::SetPlane(grey.picture.planes[plane], grey.picture.strides[plane],
                     grey.picture.strides[plane], rows, 128);
  }
  for (int frame = 0; frame < kTrialFrames; ++frame) {
    if (const Status status = send(grey.buffer, frame); status != 0) return status;
    Status status = 0;
    if (receive(status) != nullptr) return 0;
    if (status != 0) return status;
  }
  return AVERROR(EAGAIN);
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

const AVPacket* LibavEncoder::receive(Status& status) {
  const int result = avcodec_receive_packet(context_.get(), packet_.get());
  status = result == AVERROR(EAGAIN) ? 0 : result;
  return result == 0 ? packet_.get() : nullptr;
}

// A frame that shows the picture's own memory, and holds it.
Frame LibavEncoder::wrap(const std::shared_ptr<const PixelBuffer>& picture) const {
  Frame frame{av_frame_alloc()};
  if (!frame) return nullptr;
  frame->format = candidate_.format;
  frame->width = context_->width;
  frame->height = context_->height;
  auto held = std::make_unique<std::shared_ptr<const PixelBuffer>>(picture);
  const auto release = [](void* opaque, std::uint8_t*) {
    delete static_cast<std::shared_ptr<const PixelBuffer>*>(opaque);
  };
  // Encoders only read it; the size is that of the planes from the first one on.
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

// A copy with the two planes of chroma interleaved, as hardware likes it.
Frame LibavEncoder::convert(const PixelBuffer& picture) const {
  Frame frame{av_frame_alloc()};
  if (!frame) return nullptr;
  frame->format = candidate_.format;
  frame->width = context_->width;
  frame->height = context_->height;
  if (av_frame_get_buffer(frame.get(), 0) != 0) return nullptr;
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
