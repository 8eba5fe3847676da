#include "platform/libav/EncoderFinding.h"

#include <memory>
#include <string>
#include <variant>

#include "platform/libav/LibavEncoder.h"

namespace tessel::platform {

Finding findEncoder() {
  Finding finding{"encoder", false, {}, {}};
  EncoderSettings settings;
  settings.width = 1920;
  settings.height = 1080;
  const auto opened = LibavEncoder::openBest(settings);
  if (const Status* status = std::get_if<Status>(&opened)) {
    finding.sentence = *status == AVERROR_ENCODER_NOT_FOUND
                           ? "There is no H.264 encoder."
                           : "No H.264 encoder works: " + LibavEncoder::describe(*status);
    finding.advice = "Install libavcodec with libx264.";
    return finding;
  }
  const LibavEncoder& encoder = *std::get<std::unique_ptr<LibavEncoder>>(opened);
  finding.usable = true;
  finding.sentence = std::string{"H.264 with "} + encoder.name() +
                     (encoder.isHardware() ? " (hardware)." : " (software).");
  return finding;
}

}  // namespace tessel::platform
