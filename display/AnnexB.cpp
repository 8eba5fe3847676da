#include "display/AnnexB.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

#include "platform/Log.h"

namespace tessel {
namespace {

using platform::NalUnit;
using platform::Status;

constexpr const char* kOperation = "-[TSLDisplayConnection elementaryStreamFromSampleBuffer:]";

constexpr std::array<std::uint8_t, 4> kStartCode = {0, 0, 0, 1};

void append(Bytes& stream, NalUnit unit) {
  stream.insert(stream.end(), kStartCode.begin(), kStartCode.end());
  stream.insert(stream.end(), unit.begin(), unit.end());
}

// False if the number of sets or the last set is unavailable. An earlier set that is missing is
// left out: the decoder may have it already.
bool appendParameterSets(Bytes& stream, const platform::FormatDescription& format) {
  const auto count = format.parameterSetCount();
  if (const auto* status = std::get_if<Status>(&count)) {
    platform::log("%s: Unable to get number of parameter sets. status: %d", kOperation, *status);
    return false;
  }
  bool complete = true;
  for (std::size_t index = 0; index < std::get<std::size_t>(count); ++index) {
    const auto set = format.parameterSet(index);
    const auto* status = std::get_if<Status>(&set);
    complete = status == nullptr;
    if (complete) {
      append(stream, std::get<std::span<const std::uint8_t>>(set));
    } else {
      platform::log("%s: Unable to get parameter set at index %zu. status: %d", kOperation, index,
                    *status);
    }
  }
  return complete;
}

}  // namespace

bool convertToAnnexB(const platform::EncodedSampleBuffer& frame, Bytes& stream) {
  stream.clear();
  const bool keyFrame = !frame.notSync().value_or(false);
  if (keyFrame) {
    if (const auto* format = frame.formatDescription()) {
      if (!appendParameterSets(stream, *format)) return false;
    } else {
      platform::log("%s: Unable to get sample buffer format description!", kOperation);
    }
  }
  const auto units = frame.nalUnits();
  if (const auto* status = std::get_if<Status>(&units)) {
    platform::log("%s: Failed to get block buffer data pointer. status: %d", kOperation, *status);
    return false;
  }
  for (const NalUnit unit : std::get<std::span<const NalUnit>>(units)) append(stream, unit);
  return true;
}

}  // namespace tessel
