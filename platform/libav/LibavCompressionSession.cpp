#include "platform/libav/LibavCompressionSession.h"

#include <algorithm>
#include <limits>
#include <system_error>
#include <utility>
#include <variant>

#include "platform/Log.h"
#include "platform/media/NalUnits.h"
#include "platform/posix/Thread.h"

extern "C" {
#include <libavutil/error.h>
}

namespace tessel::platform {
namespace {

// Bounds the memory of a caller that submits frames without waiting for callbacks.
constexpr std::size_t kMaxWaitingFrames = 2;

class EncodedFrame final : public EncodedSampleBuffer {
 public:
  EncodedFrame(bool keyFrame, const FormatDescription& description, std::span<const NalUnit> units)
      : keyFrame_{keyFrame}, description_{description}, units_{units} {}

  std::optional<bool> notSync() const override { return !keyFrame_; }
  const FormatDescription* formatDescription() const override { return &description_; }
  StatusOr<std::span<const NalUnit>> nalUnits() const override { return units_; }

 private:
  const bool keyFrame_;
  const FormatDescription& description_;
  const std::span<const NalUnit> units_;
};

}  // namespace

void LibavCompressionSession::ParameterSets::take(std::span<const NalUnit> units) {
  std::vector<Bytes> sets;
  for (const NalUnit unit : units) {
    if (isParameterSet(unit)) sets.emplace_back(unit.begin(), unit.end());
  }
  if (!sets.empty()) sets_ = std::move(sets);
}

StatusOr<std::span<const std::uint8_t>> LibavCompressionSession::ParameterSets::parameterSet(
    std::size_t index) const {
  if (index >= sets_.size()) return Status{AVERROR(EINVAL)};
  return std::span<const std::uint8_t>{sets_[index]};
}

LibavCompressionSession::LibavCompressionSession(std::int32_t width, std::int32_t height,
                                                 const EncoderSettings& settings,
                                                 EncoderChoice choice,
                                                 std::unique_ptr<H264Encoder> encoder,
                                                 CompressionOutputCallback callback,
                                                 std::shared_ptr<Clock> clock)
    : width_{width},
      height_{height},
      settings_{settings},
      choice_{std::move(choice)},
      callback_{std::move(callback)},
      clock_{std::move(clock)},
      lastTimestamp_{std::numeric_limits<std::int64_t>::min()} {
  use(std::move(encoder));
}

LibavCompressionSession::~LibavCompressionSession() { invalidate(); }

void LibavCompressionSession::use(std::unique_ptr<H264Encoder> encoder) {
  encoder_ = std::move(encoder);
  hardware_ = encoder_->candidate().hardware;
  log("%s: encoding with %s", "-[LibavCompressionSession open]", encoder_->candidate().name);
}

Status LibavCompressionSession::prepareToEncodeFrames() {
  const MutexLock lock{mutex_};
  if (invalidated_) return AVERROR_EOF;
  if (thread_.joinable()) return 0;
  try {
    thread_ = startThread("tessel-encoder", [this] { run(); });
  } catch (const std::system_error& error) {
    return AVERROR(error.code().value());
  }
  return 0;
}

Status LibavCompressionSession::encodeFrame(const std::shared_ptr<const PixelBuffer>& imageBuffer,
                                            PresentationTime presentationTime) {
  if (!imageBuffer || imageBuffer->width != width_ || imageBuffer->height != height_ ||
      presentationTime.timescale <= 0) {
    return AVERROR(EINVAL);
  }
  // An encoder that has not been prepared prepares itself.
  if (const Status status = prepareToEncodeFrames(); status != 0) return status;
  const MutexLock lock{mutex_};
  if (invalidated_) return AVERROR_EOF;
  if (jobs_.size() >= kMaxWaitingFrames) return AVERROR(EAGAIN);
  jobs_.push_back({imageBuffer, presentationTime});
  changed_.notify_one();
  return 0;
}

void LibavCompressionSession::invalidate() {
  const MutexLock joining{joining_};  // a second caller waits for the first one's end
  std::thread ending;
  {
    const MutexLock lock{mutex_};
    invalidated_ = true;
    jobs_.clear();
    ending = std::move(thread_);
    changed_.notify_one();
  }
  if (ending.joinable()) ending.join();
  encoder_.reset();
}

void LibavCompressionSession::run() {
  for (;;) {
    Job job;
    {
      MutexLock lock{mutex_};
      while (!invalidated_ && jobs_.empty()) changed_.wait(lock.native());
      if (invalidated_) return;
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    const Status status = encode(job);
    if (status == 0) continue;
    giveUpEncoder();
    callback_(status, kInfoFrameDropped, nullptr);
  }
}

Status LibavCompressionSession::encode(const Job& job) {
  if (!encoder_) {
    if (const Status status = replaceEncoder(); status != 0) return status;
  }
  if (encoder_->holdsQuantiser()) {
    if (const Status status = govern(); status != 0) return status;
  }
  return encoder_->encode(job.picture, timestampOf(job.time),
                          [this](const EncoderPacket& packet) { return output(packet); });
}

Status LibavCompressionSession::replaceEncoder() {
  auto opened = choice_.openReplacement(settings_, std::exchange(retried_, nullptr));
  if (const auto* status = std::get_if<Status>(&opened)) return *status;
  use(std::move(std::get<std::unique_ptr<H264Encoder>>(opened)));
  return 0;
}

// Hardware that fails twice is not trusted a third time: each failure costs a frame.
void LibavCompressionSession::giveUpEncoder() {
  if (!encoder_) return;
  const EncoderCandidate& candidate = encoder_->candidate();
  if (candidate.hardware && !std::exchange(hardwareRetried_, true)) retried_ = &candidate;
  encoder_.reset();
}

Status LibavCompressionSession::govern() {
  const int coarseness = governor_.coarseness(clock_->uptime());
  if (coarseness != coarseness_) {
    log("%s: frames %d steps coarser than meant", "-[LibavCompressionSession govern]", coarseness);
    coarseness_ = coarseness;
  }
  return encoder_->setCoarseness(coarseness);
}

// In the encoder's unit. Encoders insist that time goes on.
std::int64_t LibavCompressionSession::timestampOf(PresentationTime time) {
  const std::int64_t timestamp = time.value * settings_.framesPerSecond / time.timescale;
  lastTimestamp_ = std::max(timestamp, lastTimestamp_ + 1);
  return lastTimestamp_;
}

// Whether the packet held a picture.
bool LibavCompressionSession::output(const EncoderPacket& packet) {
  governor_.add(packet.stream.size(), packet.keyFrame, clock_->uptime());
  // An encoder may have other parameter sets from a key frame on, beside the stream or within it.
  if (packet.keyFrame) parameterSets_.take(splitAnnexB(encoder_->extradata()));
  std::vector<NalUnit> units = splitAnnexB(packet.stream);
  parameterSets_.take(units);
  std::erase_if(units, [](NalUnit unit) { return !isSlice(unit); });
  if (units.empty()) return false;
  const EncodedFrame frame{packet.keyFrame, parameterSets_, units};
  callback_(0, 0, &frame);
  return true;
}

}  // namespace tessel::platform
