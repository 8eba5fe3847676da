#pragma once

#include "platform/VideoEncoder.h"
#include "tessel/Types.h"

namespace tessel {

/// Replaces the contents of `stream` by `frame` as an Annex B elementary stream: for a key frame
/// the parameter sets, then the NAL units, each behind a start code. False, with a log line, when
/// the frame cannot be sent. The frame's bytes are copied once; a `stream` that is used again and
/// again allocates only when a frame is longer than all before it.
bool convertToAnnexB(const platform::EncodedSampleBuffer& frame, Bytes& stream);

}  // namespace tessel
