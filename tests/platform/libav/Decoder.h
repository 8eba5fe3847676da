#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/libav/LibavHandles.h"

namespace tessel::platform {

/// Decodes H.264 in Annex B, frame by frame, and counts what it finds wrong.
class Decoder {
 public:
  Decoder();

  /// The picture that one frame's bytes decode to; null when there is none.
  const AVFrame* decode(std::span<const std::uint8_t> bytes);

 private:
  CodecContext context_;
  Packet packet_;
  Frame frame_;
};

}  // namespace tessel::platform
