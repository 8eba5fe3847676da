#include "platform/libav/H264Encoder.h"

extern "C" {
#include <libavutil/error.h>
}

namespace tessel::platform {

Status H264Encoder::encode(const std::shared_ptr<const PixelBuffer>& picture,
                           std::int64_t timestamp,
                           const std::function<bool(const EncoderPacket&)>& take) {
  Status status = send(picture, timestamp);
  while (status == 0) {
    const auto packet = receive(status);
    if (packet && take(*packet)) return 0;
    if (!packet && status == 0) return AVERROR(EAGAIN);
  }
  return status;
}

}  // namespace tessel::platform
