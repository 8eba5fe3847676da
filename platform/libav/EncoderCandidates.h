#pragma once

#include <array>
#include <span>
#include <utility>

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/pixfmt.h>
}

namespace tessel::platform {

/// One way to encode H.264 that this machine may offer.
struct EncoderCandidate {
  const char* name;  ///< libavcodec's
  bool hardware;
  AVPixelFormat format;    ///< of the pictures that it is handed
  AVHWDeviceType device;   ///< whose memory holds them; none for ordinary memory
  const char* folder;      ///< where its device files are; null if it needs none
  const char* filePrefix;  ///< how their names begin
  std::array<std::pair<const char*, const char*>, 8> options;  ///< names and values; null ends them
};

/// In the order in which they are tried.
std::span<const EncoderCandidate> encoderCandidates();

/// Whether the device files that a candidate needs are there.
bool hasDevice(const EncoderCandidate& candidate);

}  // namespace tessel::platform
