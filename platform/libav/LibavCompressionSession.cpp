#include "platform/libav/LibavCompressionSession.h"

#include <algorithm>
#include <limits>
#include <pthread.h>
#include <utility>
#include <vector>

#include "platform/Log.h"
#include "platform/media/NalUnits.h"
#include "platform/posix/HostSignals.h"

namespace tessel::platform {
namespace {

// The display's credits allow fewer; this only keeps a mistake from filling the memory.
constexpr std::size_t kMaximumJobs = 8;

class EncodedFrame final : public EncodedSampleBuffer {
 public:
  EncodedFrame(bool keyFrame, std::shared_ptr<const FormatDescription> description, Bytes data)
      : keyFrame_{keyFrame}, description_{std::move(description)}, data_{std::move(data)} {}

  std::optional<bool> notSync() const override { return !keyFrame_; }
  const FormatDescription* formatDescription() const override { return description_.get(); }
  StatusOr<std::span<const std::uint8_t>> dataBuffer() const override {
    return std::span<const std::uint8_t>{data_};
  }

 private:
  const bool keyFrame_;
  const std::shared_ptr<const FormatDescription> description_;
  const Bytes data_;
};

}  // namespace

// Immutable once a frame refers to it.
class LibavCompressionSession::ParameterSets final : public FormatDescription {
 public:
  explicit ParameterSets(std::vector<Bytes> sets) : sets_{std::move(sets)} {}

  const std::vector<Bytes>& sets() const { return sets_; }

  StatusOr<std::size_t> parameterSetCount() const override { return sets_.size(); }
  StatusOr<std::span<const std::uint8_t>> parameterSet(std::size_t index) const override {
    if (index >= sets_.size()) return Status{AVERROR(EINVAL)};
    return std::span<const std::uint8_t>{sets_[index]};
  }

 private:
  const std::vector<Bytes> sets_;
};

LibavCompressionSession::LibavCompressionSession(std::int32_t width, std::int32_t height,
                                                 CompressionOutputCallback callback,
                                                 std::shared_ptr<Clock> clock)
    : callback_{std::move(callback)},
      clock_{std::move(clock)},
      width_{width},
      height_{height},
      lastTimestamp_{std::numeric_limits<std::int64_t>::min()} {
  // 4:2:0 knows no odd sizes.
  settings_.width = width / 2 * 2;
  settings_.height = height / 2 * 2;
}

LibavCompressionSession::~LibavCompressionSession() { invalidate(); }

void LibavCompressionSession::setAllowFrameReordering(bool allow) {
  const std::lock_guard lock{mutex_};
  settings_.allowsReordering = allow;
}

void LibavCompressionSession::setRealTime(bool) {
  // Every encoder is opened so that it keeps up; there is no other way here.
}

void LibavCompressionSession::setExpectedFrameRate(int framesPerSecond) {
  const std::lock_guard lock{mutex_};
  settings_.framesPerSecond = std::max(1, framesPerSecond);
}

// Under mutex_.
Status LibavCompressionSession::open() const {
  if (invalidated_) return AVERROR_EOF;
  if (encoder_) return 0;
  auto opened = LibavEncoder::openBest(settings_);
  if (std::holds_alternative<Status>(opened)) return std::get<Status>(opened);
  encoder_ = std::move(std::get<std::unique_ptr<LibavEncoder>>(opened));
  log("%s: encoding with %s", "-[LibavCompressionSession open]", encoder_->name());
  return 0;
}

StatusOr<bool> LibavCompressionSession::usingHardwareAcceleratedVideoEncoder() const {
  const std::lock_guard lock{mutex_};
  const Status status = open();
  if (status != 0) return status;
  return encoder_->isHardware();
}

Status LibavCompressionSession::prepareToEncodeFrames() {
  const std::lock_guard lock{mutex_};
  const Status status = open();
  if (status != 0 || prepared_) return status;
  prepared_ = true;
  const HostSignalsBlocked inherited;
  thread_ = std::thread{[this] {
    pthread_setname_np(pthread_self(), "tessel-encoder");
    run();
  }};
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
  const std::lock_guard lock{mutex_};
  if (invalidated_) return AVERROR_EOF;
  if (jobs_.size() >= kMaximumJobs) return AVERROR(EAGAIN);
  jobs_.push_back({imageBuffer, presentationTime});
  changed_.notify_one();
  return 0;
}

void LibavCompressionSession::invalidate() {
  {
    const std::lock_guard lock{mutex_};
    invalidated_ = true;
    jobs_.clear();
    changed_.notify_one();
  }
  const std::lock_guard joining{joining_};
  if (thread_.joinable()) thread_.join();
  const std::lock_guard lock{mutex_};
  encoder_.reset();
}

void LibavCompressionSession::run() {
  for (;;) {
    Job job;
    {
      std::unique_lock lock{mutex_};
      changed_.wait(lock, [this] { return invalidated_ || !jobs_.empty(); });
      if (invalidated_) return;
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    encode(job);
  }
}

void LibavCompressionSession::encode(const Job& job) {
  std::int64_t timestamp = job.time.value * encoder_->framesPerSecond() / job.time.timescale;
  // Encoders insist that time goes on.
  if (timestamp <= lastTimestamp_) timestamp = lastTimestamp_ + 1;
  lastTimestamp_ = timestamp;

  Status status = encoder_->holdsQuantiser() ? govern() : 0;
  if (status == 0) status = encoder_->send(job.picture, timestamp);
  while (status == 0) {
    const AVPacket* packet = encoder_->receive(status);
    if (packet == nullptr) break;
    governor_.add(static_cast<std::size_t>(packet->size), clock_->uptime());
    output(*packet);
  }
  if (status != 0) callback_(status, kInfoFrameDropped, nullptr);
}

Status LibavCompressionSession::govern() {
  const int coarseness = governor_.coarseness(clock_->uptime());
  if (coarseness != coarseness_) {
    log("%s: frames %d steps coarser than meant", "-[LibavCompressionSession govern]", coarseness);
    coarseness_ = coarseness;
  }
  return encoder_->setCoarseness(coarseness);
}

void LibavCompressionSession::output(const AVPacket& packet) {
  const auto keepParameterSets = [this](std::vector<Bytes> sets) {
    if (sets.empty() || (parameterSets_ && parameterSets_->sets() == sets)) return;
    parameterSets_ = std::make_shared<ParameterSets>(std::move(sets));
  };
  const auto isParameterSet = [](NalUnit unit) {
    return nalType(unit) == NalType::sequenceParameterSet ||
           nalType(unit) == NalType::pictureParameterSet;
  };

  const bool keyFrame = (packet.flags & AV_PKT_FLAG_KEY) != 0;
  if (keyFrame) {  // where an encoder may have begun anew
    std::vector<Bytes> sets;
    for (const NalUnit unit : splitAnnexB(encoder_->extradata())) {
      if (isParameterSet(unit)) sets.emplace_back(unit.begin(), unit.end());
    }
    keepParameterSets(std::move(sets));
  }

  std::vector<Bytes> within;  // an encoder may send them in the stream all the same
  Bytes data;
  data.reserve(static_cast<std::size_t>(packet.size) + 64);
  for (const NalUnit unit : splitAnnexB({packet.data, static_cast<std::size_t>(packet.size)})) {
    switch (nalType(unit)) {
      case NalType::sequenceParameterSet:
      case NalType::pictureParameterSet:
        within.emplace_back(unit.begin(), unit.end());
        break;
      // Of no use to a receiver that decodes frame by frame as they come.
      case NalType::supplementalInformation:
      case NalType::accessUnitDelimiter:
      case NalType::fillerData:
        break;
      default:
        appendLengthPrefixed(unit, data);
    }
  }
  keepParameterSets(std::move(within));
  const EncodedFrame frame{keyFrame, parameterSets_, std::move(data)};
  callback_(0, 0, &frame);
}

}  // namespace tessel::platform
