#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "tessel/Types.h"

namespace tessel::platform {

using NalUnit = std::span<const std::uint8_t>;

/// Types of H.264 NAL units, the low five bits of their first byte.
enum class NalType : std::uint8_t {
  slice = 1,
  idrSlice = 5,
  supplementalInformation = 6,
  sequenceParameterSet = 7,
  pictureParameterSet = 8,
  accessUnitDelimiter = 9,
  fillerData = 12,
};

/// The type of a NAL unit that is not empty.
NalType nalType(NalUnit unit);

/// The NAL units of an Annex B stream, without start codes and without the zeros between units.
/// They lie in `stream`.
std::vector<NalUnit> splitAnnexB(std::span<const std::uint8_t> stream);

/// Appends a NAL unit behind its length in 4 bytes, big-endian.
void appendLengthPrefixed(NalUnit unit, Bytes& to);

}  // namespace tessel::platform
