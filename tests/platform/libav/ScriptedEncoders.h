#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/libav/EncoderChoice.h"

extern "C" {
#include <libavutil/error.h>
}

namespace tessel::platform {

/// Encoders that do what the test says, in place of hardware: two pieces of hardware, "fast" and
/// "slow", and a "software". Their frames are slices of one byte: the number of the encoder among
/// all that were opened, as is the one byte of their parameter sets. A script changes only while no
/// frame is under way.
class ScriptedEncoders {
 public:
  /// What every encoder of one candidate does.
  struct Script {
    Status openStatus = 0;
    int opensBeforeFailing = -1;   ///< of all openings; -1: none fails but for openStatus
    int framesBeforeFailing = -1;  ///< of one encoder; -1: none fails
    int delay = 0;                 ///< frames held back
    bool picturesInPackets = true;
    bool setsInStream = false;  ///< parameter sets as a packet of their own before the key frame
    int opened = 0;
    int living = 0;
    int most = 0;  ///< living at the same time
  };

  Script fast, slow, software;
  std::vector<std::string> opened;  ///< names, in order

  EncoderChoice choice() {
    return {candidates_, [this](const EncoderCandidate& candidate, const EncoderSettings&) {
              return open(candidate);
            }};
  }
  const EncoderCandidate& fastCandidate() const { return candidates_[0]; }
  const EncoderCandidate& slowCandidate() const { return candidates_[1]; }
  /// Gives the fast hardware a device that this machine does not have.
  void hideFast() {
    candidates_[0].folder = "/nonexistent";
    candidates_[0].filePrefix = "";
  }

 private:
  class Encoder;
  StatusOr<std::unique_ptr<H264Encoder>> open(const EncoderCandidate& candidate);

  static EncoderCandidate candidate(const char* name, bool hardware) {
    return {name, hardware, AV_PIX_FMT_YUV420P, AV_HWDEVICE_TYPE_NONE, nullptr, nullptr, {}};
  }
  std::array<EncoderCandidate, 3> candidates_{candidate("fast", true), candidate("slow", true),
                                              candidate("software", false)};
};

class ScriptedEncoders::Encoder final : public H264Encoder {
 public:
  Encoder(const EncoderCandidate& candidate, Script& script, std::uint8_t number)
      : candidate_{candidate}, script_{script}, number_{number}, sets_{0, 0, 1, 0x67, number,
                                                                       0, 0, 1, 0x68, number} {
    script_.most = std::max(script_.most, ++script_.living);
  }
  ~Encoder() override { --script_.living; }

  const EncoderCandidate& candidate() const override { return candidate_; }
  std::span<const std::uint8_t> extradata() const override {
    return script_.setsInStream ? std::span<const std::uint8_t>{} : sets_;
  }
  bool holdsQuantiser() const override { return false; }
  Status setCoarseness(int) override { return AVERROR(ENOSYS); }

  Status send(const std::shared_ptr<const PixelBuffer>&, std::int64_t) override {
    if (sent_ == script_.framesBeforeFailing) return AVERROR(EIO);
    if (sent_++ == 0 && script_.setsInStream) ready_.push_back({sets_, false});
    const bool keyFrame = sent_ == 1;
    const std::uint8_t type = keyFrame ? 0x65 : 0x41;
    held_.push_back({Bytes{0, 0, 1, type, number_}, keyFrame});
    if (!script_.picturesInPackets) held_.back().bytes = {0, 0, 1, 0x06, number_};
    if (static_cast<int>(held_.size()) > script_.delay) {
      ready_.push_back(held_.front());
      held_.erase(held_.begin());
    }
    return 0;
  }

  std::optional<EncoderPacket> receive(Status& status) override {
    status = 0;
    if (ready_.empty()) return std::nullopt;
    last_ = ready_.front();
    ready_.erase(ready_.begin());
    return EncoderPacket{last_.bytes, last_.keyFrame};
  }

 private:
  struct Held {
    Bytes bytes;
    bool keyFrame = false;
  };

  const EncoderCandidate& candidate_;
  Script& script_;
  const std::uint8_t number_;
  const Bytes sets_;
  int sent_ = 0;
  std::vector<Held> held_;
  std::vector<Held> ready_;
  Held last_;
};

inline StatusOr<std::unique_ptr<H264Encoder>> ScriptedEncoders::open(
    const EncoderCandidate& candidate) {
  const std::string name = candidate.name;
  Script& script = name == "fast" ? fast : name == "slow" ? slow : software;
  if (script.openStatus != 0) return script.openStatus;
  if (script.opened == script.opensBeforeFailing) return Status{AVERROR(EBUSY)};
  ++script.opened;
  opened.push_back(name);
  return std::make_unique<Encoder>(candidate, script, static_cast<std::uint8_t>(opened.size()));
}

}  // namespace tessel::platform
