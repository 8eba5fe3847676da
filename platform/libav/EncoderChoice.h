#pragma once

#include <functional>
#include <memory>
#include <span>

#include "platform/VideoEncoder.h"
#include "platform/libav/EncoderCandidates.h"
#include "platform/libav/H264Encoder.h"

namespace tessel::platform {

/// Opens one candidate, or says why it cannot be opened.
using EncoderOpener = std::function<StatusOr<std::unique_ptr<H264Encoder>>(
    const EncoderCandidate& candidate, const EncoderSettings& settings)>;

/// Chooses an encoder among candidates. Immutable; any thread that the opener may run on.
class EncoderChoice {
 public:
  /// `candidates`, in order of preference and hardware first, must outlive this and every encoder.
  EncoderChoice(std::span<const EncoderCandidate> candidates, EncoderOpener open);

  /// The first candidate that works.
  StatusOr<std::unique_ptr<H264Encoder>> openBest(const EncoderSettings& settings) const;

  /// A replacement for an encoder that has failed: `retried`, if not null and if it works, else the
  /// first software that does.
  StatusOr<std::unique_ptr<H264Encoder>> openReplacement(const EncoderSettings& settings,
                                                         const EncoderCandidate* retried) const;

 private:
  StatusOr<std::unique_ptr<H264Encoder>> openFirst(
      const EncoderSettings& settings,
      const std::function<bool(const EncoderCandidate&)>& eligible) const;
  StatusOr<std::unique_ptr<H264Encoder>> openWorking(const EncoderCandidate& candidate,
                                                     const EncoderSettings& settings) const;

  const std::span<const EncoderCandidate> candidates_;
  const EncoderOpener open_;
};

}  // namespace tessel::platform
