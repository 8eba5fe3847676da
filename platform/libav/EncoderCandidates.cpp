#include "platform/libav/EncoderCandidates.h"

#include <filesystem>
#include <string>
#include <system_error>

namespace tessel::platform {
namespace {

// The options keep each encoder from holding frames back. LibavEncoder sets quality and rate.
constexpr std::array<EncoderCandidate, 7> kCandidates{{
    {"h264_vaapi",
     true,
     AV_PIX_FMT_NV12,
     AV_HWDEVICE_TYPE_VAAPI,
     "/dev/dri",
     "renderD",
     {{{"async_depth", "1"}, {"rc_mode", "VBR"}, {"sei", "0"}}}},
    {"h264_nvenc",
     true,
     AV_PIX_FMT_YUV420P,
     AV_HWDEVICE_TYPE_NONE,
     "/dev",
     "nvidiactl",
     {{{"preset", "p2"},
       {"tune", "ull"},
       {"rc", "vbr"},
       {"cq", "23"},
       {"delay", "0"},
       {"zerolatency", "1"}}}},
    {"h264_qsv",
     true,
     AV_PIX_FMT_NV12,
     AV_HWDEVICE_TYPE_NONE,
     "/dev/dri",
     "renderD",
     {{{"preset", "veryfast"}, {"async_depth", "1"}, {"look_ahead", "0"}}}},
    {"h264_v4l2m2m", true, AV_PIX_FMT_NV12, AV_HWDEVICE_TYPE_NONE, "/dev", "video", {}},
    {"h264_v4l2m2m", true, AV_PIX_FMT_YUV420P, AV_HWDEVICE_TYPE_NONE, "/dev", "video", {}},
    {"libx264",
     false,
     AV_PIX_FMT_YUV420P,
     AV_HWDEVICE_TYPE_NONE,
     nullptr,
     nullptr,
     {{{"preset", "ultrafast"}, {"tune", "zerolatency"}}}},
    {"libopenh264",
     false,
     AV_PIX_FMT_YUV420P,
     AV_HWDEVICE_TYPE_NONE,
     nullptr,
     nullptr,
     {{{"rc_mode", "bitrate"}, {"allow_skip_frames", "0"}}}},
}};

}  // namespace

std::span<const EncoderCandidate> encoderCandidates() { return kCandidates; }

bool hasDevice(const EncoderCandidate& candidate) {
  if (candidate.folder == nullptr) return true;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator{candidate.folder, error}) {
    if (entry.path().filename().string().starts_with(candidate.filePrefix)) return true;
  }
  return false;
}

}  // namespace tessel::platform
