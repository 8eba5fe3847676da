#pragma once

#include "platform/VideoEncoder.h"
#include "tessel/Types.h"

namespace tessel {

/// Replaces the contents of `stream` by `frame` as an Annex B elementary stream: for a key frame
/// the parameter sets, then the NAL units, each behind a start code. False, with a log line, if the
/// frame cannot be sent. Copies the frame's bytes once; a `stream` that is reused allocates only
/// for a frame longer than all before it.
bool convertToAnnexB(const platform::EncodedSampleBuffer& frame, Bytes& stream);

}  // namespace tessel
