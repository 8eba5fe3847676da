#include "display/AnnexB.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

#include "platform/Log.h"
#include "platform/base/ByteOrder.h"

namespace tessel {
namespace {

using platform::Status;

constexpr const char* kOperation = "-[TSLDisplayConnection elementaryStreamFromSampleBuffer:]";

constexpr std::array<std::uint8_t, 4> kStartCode = {0, 0, 0, 1};

// In front of each NAL unit that comes from the encoder: its length, big-endian.
constexpr std::size_t kLengthSize = 4;

void append(Bytes& stream, std::span<const std::uint8_t> unit) {
  stream.insert(stream.end(), kStartCode.begin(), kStartCode.end());
  stream.insert(stream.end(), unit.begin(), unit.end());
}

// False when the number of sets, or the last one of them, cannot be had. An earlier one that is
// missing costs only itself: a decoder may have it already.
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

// A length that reaches past the end is cut to what is there.
void appendUnits(Bytes& stream, std::span<const std::uint8_t> data) {
  while (data.size() > kLengthSize) {
    const std::size_t length = platform::getBigEndian<0, std::uint32_t>(data.first<kLengthSize>());
    data = data.subspan(kLengthSize);
    const std::size_t present = std::min(length, data.size());
    append(stream, data.first(present));
    data = data.subspan(present);
  }
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
  const auto data = frame.dataBuffer();
  if (const auto* status = std::get_if<Status>(&data)) {
    platform::log("%s: Failed to get block buffer data pointer. status: %d", kOperation, *status);
    return false;
  }
  const auto units = std::get<std::span<const std::uint8_t>>(data);
  // A length field makes room for its start code: the units need as many bytes as the data.
  stream.reserve(stream.size() + units.size());
  appendUnits(stream, units);
  return true;
}

}  // namespace tessel
